#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "connector/tasks/RecordOffset.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

constexpr std::uint64_t kLargest = 18446744073709551615U;

/// The text of the boost::bad_lexical_cast that a text which is no number draws.
std::string RefusalOf(const std::string& text) {
    return Kyr::Test::ThrownText<boost::bad_lexical_cast>([&] { ParseOffset(text); });
}
constexpr char kRefused[] =
    "bad lexical cast: source type value could not be interpreted as target";

TEST(RecordOffsetTest, DecimalDigitsAreTheNumber) {
    EXPECT_EQ(ParseOffset("0"), 0u);
    EXPECT_EQ(ParseOffset("5"), 5u);
    EXPECT_EQ(ParseOffset("1234567890"), 1234567890u);
}

TEST(RecordOffsetTest, LeadingZerosAndAPlusChangeNothing) {
    EXPECT_EQ(ParseOffset("007"), 7u);
    EXPECT_EQ(ParseOffset("+7"), 7u);
    EXPECT_EQ(ParseOffset("000000000000000000000000000007"), 7u);
}

TEST(RecordOffsetTest, LargestNumberIsTakenAndTheNextIsNot) {
    EXPECT_EQ(ParseOffset("18446744073709551615"), kLargest);
    EXPECT_EQ(RefusalOf("18446744073709551616"), kRefused);
    EXPECT_EQ(RefusalOf("18446744073709551620"), kRefused);
    EXPECT_EQ(RefusalOf("99999999999999999999"), kRefused);
    EXPECT_EQ(RefusalOf("100000000000000000000"), kRefused);
}

TEST(RecordOffsetTest, MinusNegatesModuloTwoToThe64) {
    EXPECT_EQ(ParseOffset("-1"), kLargest);
    EXPECT_EQ(ParseOffset("-0"), 0u);
    EXPECT_EQ(ParseOffset("-18446744073709551615"), 1u);
    EXPECT_EQ(RefusalOf("-18446744073709551616"), kRefused);
}

TEST(RecordOffsetTest, AnythingElseIsRefused) {
    for (const char* text : {"", "+", "-", "+-1", "--1", "1-", " 5", "5 ", "\t5", "5a", "a", "0x5",
                             "5/", "5:", "5.0", "1e3", "1,234", "\xD9\xA5"}) {
        EXPECT_EQ(RefusalOf(text), kRefused) << "\"" << text << "\"";
    }
    EXPECT_EQ(RefusalOf(std::string("5\0", 2)), kRefused);
    EXPECT_EQ(RefusalOf(std::string("\0", 1)), kRefused);
}

TEST(RecordOffsetTest, LocaleOfTheProcessHasNoSay) {
    const Kyr::Test::CGroupingLocale grouping;
    EXPECT_EQ(ParseOffset("1234567"), 1234567u);
    EXPECT_EQ(RefusalOf("1,234,567"), kRefused);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
