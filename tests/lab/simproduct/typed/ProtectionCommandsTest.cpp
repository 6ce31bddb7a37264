#include <gmock/gmock.h>

#include "lab/simproduct/typed/ProtectionCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class ProtectionCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override { return ProtectionCommands(protection_, lines_.Sink()); }

    CConfiguration configuration_;
    CProtection protection_{configuration_};
};

constexpr char kFilesLine[] =
    "answer command=protection name=files status=0 category=0x710000000000301 "
    "text=0x710000000000311";
constexpr char kNetworkLine[] =
    "answer command=protection name=network status=0 category=0x710000000000302 "
    "text=0x710000000000312";

TEST_F(ProtectionCommandsTest, AloneItListsTheComponents) {
    EXPECT_THAT(Execute("protection"),
                ElementsAre(kFilesLine, kNetworkLine, "answer command=protection components=2"));
}

TEST_F(ProtectionCommandsTest, StatusOfAComponentCanBeChangedAlone) {
    EXPECT_THAT(Execute("protection set files 1"),
                ElementsAre("answer command=protection name=files status=1 "
                            "category=0x710000000000301 text=0x710000000000311",
                            kNetworkLine, "answer command=protection components=2"));
}

TEST_F(ProtectionCommandsTest, NewComponentTakesItsTexts) {
    Execute("protection remove files");
    Execute("protection remove network");

    EXPECT_THAT(Execute("protection set mail 2 category=0xA text=0xB description=0xC"),
                ElementsAre("answer command=protection name=mail status=2 category=0xA text=0xB "
                            "description=0xC",
                            "answer command=protection components=1"));
}

TEST_F(ProtectionCommandsTest, RawTextIsReportedUntilItIsTakenBack) {
    Execute("protection raw <TULK>");
    EXPECT_EQ("<TULK>", protection_.Report());

    Execute("protection raw");
    EXPECT_NE("<TULK>", protection_.Report());
}

TEST_F(ProtectionCommandsTest, WhatIsNotUnderstoodChangesNothing) {
    EXPECT_EQ("a component and its status are wanted", Refusal("protection set files"));
    EXPECT_EQ("'x' is not a number", Refusal("protection set files x"));
    EXPECT_EQ("'4294967296' is too large", Refusal("protection set files 4294967296"));
    EXPECT_EQ("'kind=1' is not understood", Refusal("protection set files 1 kind=1"));
    EXPECT_EQ("there is no such component", Refusal("protection remove mail"));
    EXPECT_EQ("'off' is not understood", Refusal("protection off"));
    EXPECT_EQ(0u, protection_.Reported()[0].status);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
