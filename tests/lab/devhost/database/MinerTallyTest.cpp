#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lab/devhost/database/MinerTally.h"

namespace Kyr::Test {
namespace {

using namespace Lab::DevHost;

constexpr char kOne[] = "{\"event\":{\"sequence\":1}}";
constexpr char kTwo[] = "{\"event\":{\"sequence\":2}}";
constexpr char kThree[] = "{\"event\":{\"sequence\":3}}";

MinerTally Count(const std::vector<std::string>& records) {
    CMinerCount count;
    for (const std::string& record : records) {
        count.Take(record);
    }
    return count.Tally();
}

TEST(MinerTallyTest, NumberStandsInTheEvent) {
    EXPECT_EQ(17u, SequenceOf("{\"event\":{\"kind\":\"alert\",\"sequence\":17},\"message\":\"\"}"));
}

TEST(MinerTallyTest, OtherTextsHaveNoNumber) {
    for (const char* text : {"", "text", "{}", "[1]", "{\"event\":1}", "{\"event\":{}}",
                             "{\"event\":{\"sequence\":\"1\"}}", "{\"event\":{\"sequence\":0}}",
                             "{\"event\":{\"sequence\":-1}}", "{\"event\":{\"sequence\":1}"}) {
        EXPECT_EQ(std::nullopt, SequenceOf(text)) << text;
    }
}

TEST(MinerTallyTest, TextOfAnActionIsTheFieldThatTheHostDoesNotName) {
    EXPECT_EQ("ab", TextOfAction("\x08\x03\x12\x02"
                                 "ab"));
}

TEST(MinerTallyTest, ActionWithoutATextHasNone) {
    EXPECT_EQ("", TextOfAction("\x08\x03"));
    EXPECT_EQ("", TextOfAction("\x08"));
}

TEST(MinerTallyTest, RecordsOnceAndInOrder) {
    const MinerTally tally = Count({kOne, kTwo, kThree});
    EXPECT_EQ(3u, tally.stored);
    EXPECT_EQ(0u, tally.twice);
    EXPECT_EQ(3u, tally.Distinct());
    EXPECT_EQ(3u, tally.highest);
    EXPECT_TRUE(tally.inOrder);
}

TEST(MinerTallyTest, BatchThatCameAgainCountsAsTwiceAndKeepsTheOrder) {
    const MinerTally tally = Count({kOne, kTwo, kOne, kTwo, kThree});
    EXPECT_EQ(5u, tally.stored);
    EXPECT_EQ(2u, tally.twice);
    EXPECT_EQ(3u, tally.Distinct());
    EXPECT_TRUE(tally.inOrder);
}

TEST(MinerTallyTest, RecordThatWasSkippedIsMissing) {
    const MinerTally tally = Count({kOne, kThree});
    EXPECT_EQ(2u, tally.Distinct());
    EXPECT_EQ(3u, tally.highest);
}

TEST(MinerTallyTest, RecordThatCameTooEarlyBreaksTheOrder) {
    EXPECT_FALSE(Count({kTwo, kOne}).inOrder);
}

TEST(MinerTallyTest, RecordWithoutANumberIsCountedApart) {
    const MinerTally tally = Count({"text", kOne});
    EXPECT_EQ(2u, tally.stored);
    EXPECT_EQ(1u, tally.unnumbered);
    EXPECT_EQ(1u, tally.Distinct());
}

}  // namespace
}  // namespace Kyr::Test
