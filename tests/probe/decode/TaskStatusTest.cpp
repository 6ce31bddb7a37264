#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

/// What is in `record`, a task status; the length told is that of "a;b;c".
Lines Outcome(const std::string& record) {
    return DecodedFrom(12, "0c000000 00000000 16000000 " + record, "reply", kGetTaskStatus);
}

/// The same of a record whose text begins where it normally does.
std::string UserData(const std::string& units) {
    const Lines lines = Outcome("eeeeeeee 00000000 0c000000 " + units);
    EXPECT_EQ(lines.size(), 4u);
    return lines.back();
}

TEST(TaskStatusTest, OutcomeTellsItsTask) {
    EXPECT_THAT(Outcome("eeeeeeee 02000000 0c000000 61003b00 62003b00 6300"),
                ElementsAre("12+4 not read: 4008636142 (0xeeeeeeee)", "16+4 status: 2, failure",
                            "20+4 place of the user data: 12 (0xc)", "24+10 user data: \"a;b;c\""));
}

TEST(TaskStatusTest, ZeroAndOneAreSuccesses) {
    EXPECT_THAT(Outcome("eeeeeeee 00000000 0c000000 61003b00 62003b00 6300"),
                testing::Contains("16+4 status: 0, success"));
    EXPECT_THAT(Outcome("eeeeeeee 01000000 0c000000 61003b00 62003b00 6300"),
                testing::Contains("16+4 status: 1, success"));
}

TEST(TaskStatusTest, IdentifiersAreThree) {
    EXPECT_EQ(UserData("61003b00 6200"),
              "24+6 user data: \"a;b\" !must be three identifiers, are 2");
    EXPECT_EQ(UserData("61003b00 62003b00 63003b00"),
              "24+12 user data: \"a;b;c;\" !must be three identifiers, are 4");
    EXPECT_EQ(UserData(""), "24+0 user data: \"\" !must be three identifiers, are 1");
}

TEST(TaskStatusTest, IdentifiersMayBePartedInThreeWays) {
    EXPECT_EQ(UserData("61002c00 62002000 6300"), "24+10 user data: \"a,b c\"");
    EXPECT_EQ(UserData("61002d00 62002100 6300"),
              "24+10 user data: \"a-b!c\" !must be three identifiers, are 1");
    EXPECT_EQ(UserData("61003c00 6200"),
              "24+6 user data: \"a<b\" !must be three identifiers, are 1");
}

TEST(TaskStatusTest, TextEndsAtAZeroUnit) {
    EXPECT_EQ(UserData("3b003b00 0000 6100"), "24+4 user data: \";;\"");
    EXPECT_EQ(UserData("3b003b00 0001 6100"),
              "24+8 user data: \";;\xC4\x80"
              "a\"");
}

TEST(TaskStatusTest, OddLastByteIsNoUnit) {
    EXPECT_EQ(UserData("3b003b00 61"), "24+4 user data: \";;\"");
}

TEST(TaskStatusTest, TextIsShownAsTheConnectorReadsIt) {
    // An umlaut, a character of two units, and a unit whose partner is missing.
    EXPECT_EQ(UserData("3b003b00 e400"), "24+6 user data: \";;\xC3\xA4\"");
    EXPECT_EQ(UserData("3b003b00 3dd800de"), "24+8 user data: \";;\xF0\x9F\x98\x80\"");
    EXPECT_EQ(UserData("3b003b00 3dd8 6100"), "24+8 user data: \";;\"");
}

TEST(TaskStatusTest, TextMayStandAnywhereInTheRecord) {
    EXPECT_THAT(
        Outcome("61003b00 62003b00 00000000"),
        ElementsAre("12+4 not read: 3866721 (0x3b0061)", "16+4 status: 3866722 (0x3b0062), failure",
                    "20+4 place of the user data: 0", "12+8 user data: \"a;b;\""));
}

TEST(TaskStatusTest, PlaceOutsideOfTheRecordLeavesNoText) {
    EXPECT_THAT(Outcome("eeeeeeee 00000000 0d000000"),
                testing::Contains("20+4 place of the user data: 13 (0xd) !outside of the record: "
                                  "the user data are empty"));
}

TEST(TaskStatusTest, RecordIsReadWhateverLengthIsTold) {
    EXPECT_THAT(DecodedFrom(8,
                            "0c000000 00000000 01000000"
                            "  eeeeeeee 01000000 0c000000 3b003b00",
                            "reply", kGetTaskStatus),
                ElementsAre("8+4 length of the body: 1", "12+4 not read: 4008636142 (0xeeeeeeee)",
                            "16+4 status: 1, success", "20+4 place of the user data: 12 (0xc)",
                            "24+4 user data: \";;\""));
}

TEST(TaskStatusTest, LengthOfZeroSaysThatThereIsNoOutcome) {
    EXPECT_THAT(DecodedFrom(8, "0c000000 00000000 00000000 eeeeeeee", "reply", kGetTaskStatus),
                ElementsAre("8+4 length of the body: 0", "12+4 behind the body: eeeeeeee"));
}

TEST(TaskStatusTest, CutRecordSaysWhatIsMissing) {
    EXPECT_THAT(Outcome("eeeeeeee 0000"),
                ElementsAre("12+4 not read: 4008636142 (0xeeeeeeee)",
                            "16+2 status: 0000 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(Outcome("eeeeeeee 00000000 0c"),
                ElementsAre("12+4 not read: 4008636142 (0xeeeeeeee)", "16+4 status: 0, success",
                            "20+1 place of the user data: 0c !ends early: 1 of 4 bytes are there"));
}

}  // namespace
}  // namespace Kyr::Probe
