#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SplitWordsTest, BlanksPartWords) {
    EXPECT_THAT(SplitWords("  start  victim\t--seconds=5 "),
                ElementsAre("start", "victim", "--seconds=5"));
}

TEST(SplitWordsTest, QuotedRunIsPartOfItsWord) {
    EXPECT_THAT(SplitWords(R"(start "my program" name="a \"b\"" "")"),
                ElementsAre("start", "my program", "name=a \"b\"", ""));
}

TEST(SplitWordsTest, EmptyCommandHasNoWords) {
    EXPECT_THAT(SplitWords(" \t\r"), IsEmpty());
}

TEST(SplitWordsTest, OpenQuoteIsRefused) {
    EXPECT_THROW(SplitWords("start \"my"), std::invalid_argument);
}

TEST(ParseNumberTest, DecimalAndHexadecimalAreRead) {
    EXPECT_EQ(0u, ParseNumber("0"));
    EXPECT_EQ(18446744073709551615u, ParseNumber("18446744073709551615"));
    EXPECT_EQ(0xFFCFu, ParseNumber("0xFfcF"));
}

TEST(ParseNumberTest, NumberOf32BitsEndsThere) {
    EXPECT_EQ(4294967295u, ParseNumber32("0xFFFFFFFF"));
    EXPECT_THROW(ParseNumber32("4294967296"), std::invalid_argument);
}

class MalformedNumberTest : public ::testing::TestWithParam<const char*> {};

TEST_P(MalformedNumberTest, IsRefused) {
    EXPECT_THROW(ParseNumber(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(ParseNumberTest, MalformedNumberTest,
                         ::testing::Values("", "-1", "+1", " 1", "1 ", "1a", "0x", "0xg",
                                           "18446744073709551616"));

}  // namespace
}  // namespace Kyr::Lab
