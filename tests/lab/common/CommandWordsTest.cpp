#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SplitWordsTest, BlanksPartWordsButNotInQuotes) {
    EXPECT_THAT(SplitWords(" \t\r"), IsEmpty());
    EXPECT_THAT(SplitWords("  start  victim\t--seconds=5 "),
                ElementsAre("start", "victim", "--seconds=5"));
    EXPECT_THAT(SplitWords(R"(start "my program" name="a \"b\"" "")"),
                ElementsAre("start", "my program", "name=a \"b\"", ""));
    EXPECT_THROW(SplitWords("start \"my"), std::invalid_argument);
}

TEST(PlaceOfTest, NameThatIsNoneIsRefusedWithThoseThatThereAre) {
    EXPECT_EQ(1u, PlaceOf("log", {"read", "log"}, "fault"));
    EXPECT_EQ("no such fault: \"bus\"; there are read, log",
              Kyr::Test::ThrownText<std::invalid_argument>([] {
                  PlaceOf("bus", {"read", "log"}, "fault");
              }));
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

TEST(ParseNumberTest, WhatIsNoNumberIsRefused) {
    for (const char* text :
         {"", "-1", "+1", " 1", "1 ", "1a", "0x", "0xg", "18446744073709551616"}) {
        EXPECT_THROW(ParseNumber(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace Kyr::Lab
