// The commands against an area of this process.
#include <Poco/Environment.h>

#include "lab/simproduct/typed/AreaCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Kyr::Test::CTemporaryFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class AreaCommandsTest : public GroupFixture {
  protected:
    AreaCommandsTest() {
        Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder_.File("run"));
        area_.Open();
    }

    ConsoleCommandGroup Group() override { return AreaCommands(area_); }
    std::string Area(const std::string& line) { return Execute(line).at(0); }

    const CTemporaryFolder folder_;
    CBroadcastArea area_;
};

TEST_F(AreaCommandsTest, BroadcastCountsAValueUp) {
    EXPECT_THAT(Execute("broadcast index=2"),
                ElementsAre("answer command=broadcast index=2 value=1"));
    EXPECT_THAT(Execute("broadcast index=2"),
                ElementsAre("answer command=broadcast index=2 value=2"));
}

TEST_F(AreaCommandsTest, BroadcastSetsAValue) {
    EXPECT_THAT(Execute("broadcast index=10 value=0xFFFFFFFF"),
                ElementsAre("answer command=broadcast index=10 value=4294967295"));
    EXPECT_EQ(area_.Value(10), 0xFFFFFFFFU);
}

TEST_F(AreaCommandsTest, BroadcastWithoutAnIndexTellsThemAll) {
    area_.SetValue(8, 5);
    EXPECT_THAT(Execute("broadcast"),
                ElementsAre("answer command=broadcast 0=0 1=0 2=0 3=0 4=0 5=0 6=0 7=0 8=5 9=0 "
                            "10=0"));
}

TEST_F(AreaCommandsTest, AreaTellsItsWords) {
    EXPECT_EQ(Area("area"),
              "answer command=area mutex=free header-size=32 "
              "magic=1131177291 version=2 data-offset=64 data-size=1024 first-module=80 "
              "module-count=3 module-id=16793600 user-size=8 user-offset=208 timestamp=2");
}

TEST_F(AreaCommandsTest, LieStandsUntilHealthyAndTheValuesStay) {
    area_.SetValue(2, 9);
    EXPECT_THAT(Area("area set version 3"), HasSubstr(" version=3 "));
    EXPECT_THAT(Area("area healthy"), HasSubstr(" version=2 "));
    EXPECT_EQ(area_.Value(2), 9U);
}

TEST_F(AreaCommandsTest, MutexIsHeldAndReleased) {
    EXPECT_THAT(Area("area hold"), HasSubstr(" mutex=held "));
    EXPECT_THAT(Area("area hold"), HasSubstr(" mutex=held "));
    EXPECT_THAT(Execute("broadcast index=0"), ElementsAre(HasSubstr("value=1")));
    EXPECT_THAT(Area("area release"), HasSubstr(" mutex=free "));
}

TEST_F(AreaCommandsTest, WordsThatMakeNoCommandAreRefused) {
    ExpectRefused({"broadcast index=11", "broadcast index=1 value=4294967296", "broadcast 1",
                   "broadcast value=1", "broadcast index=1 1", "area fly", "area set version",
                   "area set colour 1", "area hold now"});
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
