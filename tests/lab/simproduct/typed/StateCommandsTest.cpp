#include <optional>

#include "lab/simproduct/typed/StateCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class CFakeRegistration : public IRegistration {
  public:
    void Install(std::int32_t newBuild) override { build = newBuild; }
    void Uninstall() override { build.reset(); }

    std::optional<std::int32_t> build = 1;
};

class StateCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override {
        return StateCommands(registration_, protection_, results_, configuration_);
    }

    CFakeRegistration registration_;
    CConfiguration configuration_;
    CProtection protection_{configuration_};
    CTaskResults results_;
};

constexpr char kFilesLine[] =
    "answer command=protection name=files status=0 category=0x710000000000301 "
    "text=0x710000000000311";
constexpr char kNetworkLine[] =
    "answer command=protection name=network status=0 category=0x710000000000302 "
    "text=0x710000000000312";

TEST_F(StateCommandsTest, InstallRegistersTheBuildWhichMayBeNegative) {
    EXPECT_THAT(Execute("install build=-1"), ElementsAre("answer command=install build=-1"));
    EXPECT_EQ(registration_.build, -1);
}

TEST_F(StateCommandsTest, UninstallTakesTheRegistrationBack) {
    EXPECT_THAT(Execute("uninstall"), ElementsAre("answer command=uninstall"));
    EXPECT_EQ(registration_.build, std::nullopt);
}

TEST_F(StateCommandsTest, ProtectionAloneTellsTheComponents) {
    EXPECT_THAT(Execute("protection"),
                ElementsAre(kFilesLine, kNetworkLine, "answer command=protection components=2"));
}

TEST_F(StateCommandsTest, StatusOfAComponentCanBeChangedAlone) {
    EXPECT_THAT(Execute("protection set files 1"),
                ElementsAre("answer command=protection name=files status=1 "
                            "category=0x710000000000301 text=0x710000000000311",
                            kNetworkLine, "answer command=protection components=2"));
}

TEST_F(StateCommandsTest, NewComponentTakesItsTexts) {
    EXPECT_THAT(Execute("protection set mail 2 category=0xA text=0xB description=0xC"),
                ElementsAre(kFilesLine, kNetworkLine,
                            "answer command=protection name=mail status=2 category=0xA text=0xB "
                            "description=0xC",
                            "answer command=protection components=3"));
}

TEST_F(StateCommandsTest, RawTextIsReportedUntilItIsTakenBack) {
    Execute("protection raw <TULK>");
    EXPECT_EQ("<TULK>", protection_.Report());

    Execute("protection raw");
    EXPECT_NE("<TULK>", protection_.Report());
}

TEST_F(StateCommandsTest, AnyOutcomeCanBeAdded) {
    EXPECT_THAT(Execute("results add 0xFFFFFFFF \"a b\" offset=40"),
                ElementsAre("answer command=results outcome=4294967295 userdata=\"a b\" offset=40",
                            "answer command=results waiting=1"));
}

TEST_F(StateCommandsTest, OfALongConfigurationOnlyTheBeginningIsShown) {
    configuration_.Replace(std::string(1000, 'x'));

    EXPECT_THAT(Execute("configuration"), ElementsAre("answer command=configuration length=1000 "
                                                      "text=" +
                                                      std::string(200, 'x')));
}

TEST_F(StateCommandsTest, WhatIsNotUnderstoodChangesNothing) {
    ExpectRefused({"install", "install 5058", "install build=5o", "install build=7 now",
                   "uninstall now", "protection set files", "protection set files x",
                   "protection set files 4294967296", "protection set files 1 kind=1",
                   "protection off", "protection raw a b", "results add 1", "results add a b",
                   "results add 1 a size=3", "results add 1 a offset=4294967296", "results drop",
                   "configuration show"});
    EXPECT_EQ(registration_.build, 1);
    EXPECT_EQ(0u, protection_.Reported()[0].status);
    EXPECT_TRUE(results_.List().empty());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
