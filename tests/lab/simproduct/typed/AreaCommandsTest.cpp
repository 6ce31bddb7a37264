// The commands against an area of this process.
#include <Poco/Environment.h>
#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/typed/AreaCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/ThrownText.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Kyr::Test::CTemporaryFolder;
using Kyr::Test::ThrownText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class AreaCommandsTest : public ::testing::Test {
  protected:
    AreaCommandsTest() {
        Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder_.File("run"));
        area_.Open();
    }

    std::vector<std::string> Broadcast(const std::string& line) {
        Run(line);
        return lines_.Take();
    }
    std::string Area(const std::string& line) {
        Run(line);
        return lines_.Take().at(0);
    }
    std::string Refusal(const std::string& line) {
        return ThrownText<std::exception>([&] { Run(line); });
    }
    void Run(const std::string& line) {
        const Words words = SplitWords(line);
        for (const ConsoleCommand& command : commands_) {
            if (command.name == words[0]) {
                command.run(words);
                return;
            }
        }
        FAIL() << line;
    }

    const CTemporaryFolder folder_;
    CLineList lines_;
    CBroadcastArea area_;
    const ConsoleCommandGroup commands_ = AreaCommands(area_, lines_.Sink());
};

TEST_F(AreaCommandsTest, BroadcastCountsAValueUp) {
    EXPECT_THAT(Broadcast("broadcast index=2"),
                ElementsAre("answer command=broadcast index=2 value=1"));
    EXPECT_THAT(Broadcast("broadcast index=2"),
                ElementsAre("answer command=broadcast index=2 value=2"));
}

TEST_F(AreaCommandsTest, BroadcastSetsAValue) {
    EXPECT_THAT(Broadcast("broadcast index=10 value=0xFFFFFFFF"),
                ElementsAre("answer command=broadcast index=10 value=4294967295"));
    EXPECT_EQ(area_.Value(10), 0xFFFFFFFFU);
}

TEST_F(AreaCommandsTest, BroadcastWithoutAnIndexTellsThemAll) {
    area_.SetValue(8, 5);
    EXPECT_THAT(Broadcast("broadcast"),
                ElementsAre("answer command=broadcast 0=0 1=0 2=0 3=0 4=0 5=0 6=0 7=0 8=5 9=0 "
                            "10=0"));
}

TEST_F(AreaCommandsTest, BroadcastRefusesWhatIsNoValue) {
    EXPECT_EQ(Refusal("broadcast index=11"), "'11' is not below 11");
    EXPECT_EQ(Refusal("broadcast index=1 value=4294967296"), "'4294967296' is too large");
    EXPECT_EQ(Refusal("broadcast 1"), "index=<n> and perhaps value=<number> are wanted");
    EXPECT_EQ(Refusal("broadcast index=1 1"), "index=<n> and perhaps value=<number> are wanted");
}

TEST_F(AreaCommandsTest, AreaTellsItsWords) {
    EXPECT_EQ(Area("area"),
              "answer command=area state=open mutex=free position=1 header-size=32 "
              "magic=1131177291 version=2 data-offset=64 data-size=1024 first-module=80 "
              "module-count=3 module-id=16793600 user-size=8 user-offset=208 timestamp=2");
}

TEST_F(AreaCommandsTest, LieStandsUntilHealthyAndTheValuesStay) {
    area_.SetValue(2, 9);
    EXPECT_THAT(Area("area set version 3"), HasSubstr(" version=3 "));
    EXPECT_THAT(Area("area healthy"), HasSubstr(" version=2 "));
    EXPECT_EQ(area_.Value(2), 9U);
}

TEST_F(AreaCommandsTest, AnyWordCanBePut) {
    EXPECT_THAT(Area("area put 28 0"), HasSubstr(" data-size=0 "));
    EXPECT_EQ(Refusal("area put 27 0"), "'27' is not a multiple of 4");
    EXPECT_EQ(Refusal("area put 4096 0"), "'4096' is not below 4096");
}

TEST_F(AreaCommandsTest, PlugInMoves) {
    EXPECT_THAT(Area("area move 2"), HasSubstr(" position=2 "));
    EXPECT_EQ(Refusal("area move 3"), "'3' is not below 3");
}

TEST_F(AreaCommandsTest, MutexIsHeldAndReleased) {
    EXPECT_THAT(Area("area hold"), HasSubstr(" mutex=held "));
    EXPECT_THAT(Area("area hold"), HasSubstr(" mutex=held "));
    EXPECT_THAT(Broadcast("broadcast index=0"), ElementsAre(HasSubstr("value=1")));
    EXPECT_THAT(Area("area release"), HasSubstr(" mutex=free "));
}

TEST_F(AreaCommandsTest, AbandonedMutexDoesNotStopTheWriter) {
    EXPECT_THAT(Area("area abandon"), HasSubstr(" mutex=free "));
    EXPECT_THAT(Broadcast("broadcast index=0"), ElementsAre(HasSubstr("value=1")));
}

TEST_F(AreaCommandsTest, FlickeringWordComesToRest) {
    Area("area flicker data-size 0");
    EXPECT_THAT(Area("area healthy"), HasSubstr(" data-size=1024 "));
}

TEST_F(AreaCommandsTest, ClosedAreaHasNothingToTellAndOpensAgain) {
    EXPECT_EQ(Area("area close"), "answer command=area state=closed");
    EXPECT_EQ(Refusal("broadcast index=1"), "the broadcast area is closed");
    EXPECT_EQ(Refusal("area hold"), "the broadcast area is closed");
    EXPECT_THAT(Area("area open"), HasSubstr("state=open"));
}

TEST_F(AreaCommandsTest, WordsThatMakeNoCommandAreRefused) {
    EXPECT_EQ(Refusal("area fly"),
              "'fly' is none of open, close, healthy, set, put, move, flicker, hold, release, "
              "abandon, die");
    EXPECT_EQ(Refusal("area set version"), "'set' takes 2 words");
    EXPECT_EQ(Refusal("area set colour 1"),
              "'colour' is none of header-size, magic, version, data-offset, data-size, "
              "first-module, module-count, module-id, user-size, user-offset, timestamp");
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
