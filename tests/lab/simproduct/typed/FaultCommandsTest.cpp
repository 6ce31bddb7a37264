#include "lab/simproduct/typed/FaultCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace testing;

class CFakeServer : public IPort {
  public:
    void Open() override { open_ = true; }
    void Close() override { open_ = false; }
    bool IsOpen() const override { return open_; }

  private:
    bool open_ = false;
};

class FaultCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override { return FaultCommands(misbehaviours_, alpc_, lpc_); }

    CMisbehaviours misbehaviours_;
    CFakeServer alpc_;
    CFakeServer lpc_;
};

TEST_F(FaultCommandsTest, FaultIsAddedToldAndCleared) {
    EXPECT_THAT(Execute("misbehave status 14 for=2"),
                ElementsAre("answer command=misbehave fault=\"status 14 for=2\"",
                            "answer command=misbehave faults=1"));
    EXPECT_THAT(Execute("misbehave"), Contains("answer command=misbehave faults=1"));
    EXPECT_THAT(Execute("misbehave clear"), ElementsAre("answer command=misbehave faults=0"));
}

TEST_F(FaultCommandsTest, ClearingOneFaultLeavesTheOthers) {
    Execute("misbehave drop");
    Execute("misbehave hang");
    ExpectRefused({"misbehave clear dorp", "misbehave clear drop hang"});

    EXPECT_THAT(Execute("misbehave clear drop"), ElementsAre("answer command=misbehave fault=hang",
                                                             "answer command=misbehave faults=1"));
}

TEST_F(FaultCommandsTest, AbsentPortIsClosedAtOnceAndOpenedAgain) {
    OpenPorts(misbehaviours_, alpc_, lpc_);
    EXPECT_TRUE(alpc_.IsOpen());

    Execute("misbehave no-alpc");
    EXPECT_FALSE(alpc_.IsOpen());
    EXPECT_TRUE(lpc_.IsOpen());

    Execute("misbehave clear no-alpc");
    EXPECT_TRUE(alpc_.IsOpen());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
