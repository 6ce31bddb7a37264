#include <gtest/gtest.h>

#include <boost/uuid/uuid_io.hpp>

#include "logs/SymbolText.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Logs {
namespace {

using Test::ThrownText;

std::string Bytes(int lead, std::size_t following) {
    return std::string(1, static_cast<char>(lead)) + std::string(following, '\x80');
}

// Shortening

TEST(ShortenTextTest, AsciiBecomesExactlyAsLongAsTheLimit) {
    EXPECT_EQ(ShortenText("abcdefghijklmnopqrst", 10), "abcdefg...");
    EXPECT_EQ(ShortenText("abcdefghijk", 10), "abcdefg...");
}

TEST(ShortenTextTest, TextAsLongAsTheLimitIsKept) {
    EXPECT_EQ(ShortenText("abcdefghij", 10), "abcdefghij");
    EXPECT_EQ(ShortenText("", 10), "");
}

TEST(ShortenTextTest, LimitThatIsNotPositiveKeepsTheText) {
    EXPECT_EQ(ShortenText("abcdefghijklmnopqrst", 0), "abcdefghijklmnopqrst");
    EXPECT_EQ(ShortenText("abcdefghijklmnopqrst", 0x80000000u), "abcdefghijklmnopqrst");
    EXPECT_EQ(ShortenText("abcdefghijklmnopqrst", 0xFFFFFFFFu), "abcdefghijklmnopqrst");
}

TEST(ShortenTextTest, LimitOfThreeLeavesTheDots) {
    EXPECT_EQ(ShortenText("abcdef", 3), "...");
    EXPECT_EQ(ShortenText("abcdef", 4), "a...");
}

// limit - 3 wraps around, so that only the limit itself ends the walk.
TEST(ShortenTextTest, LimitBelowThreeKeepsAllButTheLastCharacter) {
    EXPECT_EQ(ShortenText("abcdef", 1), "...");
    EXPECT_EQ(ShortenText("abcdef", 2), "a...");
}

TEST(ShortenTextTest, LowestByteThatBeginsNoCharacterIsRefused) {
    EXPECT_EQ(ThrownText([] { ShortenText("\x80 bcdefghijkl", 10); }), "Invalid utf8 leading byte");
}

TEST(ShortenTextTest, CharacterAcrossTheCutIsDroppedWhole) {
    // 6 ASCII bytes, then a character of 2 bytes at 6 and 7: position 7 is inside it.
    EXPECT_EQ(ShortenText("abcdef\xC3\xA4ghijkl", 10), "abcdef...");
    // The same character at 5 and 6 ends where the cut is.
    EXPECT_EQ(ShortenText("abcde\xC3\xA4ghijkl", 10), "abcde\xC3\xA4...");
}

TEST(ShortenTextTest, CharactersOfOneToSixBytesAreTakenWhole) {
    const std::string rest(20, 'x');
    EXPECT_EQ(ShortenText(Bytes(0x7F, 0) + rest, 10), Bytes(0x7F, 0) + "xxxxxx...");
    EXPECT_EQ(ShortenText(Bytes(0xC3, 1) + rest, 10), Bytes(0xC3, 1) + "xxxxx...");
    EXPECT_EQ(ShortenText(Bytes(0xE2, 2) + rest, 10), Bytes(0xE2, 2) + "xxxx...");
    EXPECT_EQ(ShortenText(Bytes(0xF0, 3) + rest, 10), Bytes(0xF0, 3) + "xxx...");
    EXPECT_EQ(ShortenText(Bytes(0xF8, 4) + rest, 10), Bytes(0xF8, 4) + "xx...");
    EXPECT_EQ(ShortenText(Bytes(0xFC, 5) + rest, 10), Bytes(0xFC, 5) + "x...");
}

TEST(ShortenTextTest, MoreThanSixBytesAreRefused) {
    const std::string text = "Utf8 character cannot have more than 6 characters";
    EXPECT_EQ(ThrownText([] { ShortenText("a\xFE" + std::string(20, 'x'), 10); }), text);
    EXPECT_EQ(ThrownText([] { ShortenText("a\xFF" + std::string(20, 'x'), 10); }), text);
}

TEST(ShortenTextTest, FollowingByteAtACharacterStartIsRefused) {
    const std::string text = "Invalid utf8 leading byte";
    EXPECT_EQ(ThrownText([] { ShortenText("\x80" + std::string(20, 'x'), 10); }), text);
    EXPECT_EQ(ThrownText([] { ShortenText("abc\xBF" + std::string(20, 'x'), 10); }), text);
}

TEST(ShortenTextTest, BadByteInATextThatFitsIsKept) {
    EXPECT_EQ(ShortenText("\x80", 10), "\x80");
}

TEST(ShortenTextTest, BadByteBehindTheCutIsNotSeen) {
    EXPECT_EQ(ShortenText("abcdefgh\x80ijkl", 10), "abcdefg...");
}

// The length of a character is not checked against its following bytes.
TEST(ShortenTextTest, TruncatedLastCharacterStaysInside) {
    EXPECT_EQ(ShortenText("abcdefg\xFCijk", 10), "abcdefg...");
}

// UUIDs

TEST(ParseUuidTest, PlainTextIsTaken) {
    EXPECT_EQ(to_string(ParseUuid("01234567-89ab-cdef-0011-223344556677")),
              "01234567-89ab-cdef-0011-223344556677");
}

TEST(ParseUuidTest, UpperCaseAndBracesAreTaken) {
    EXPECT_EQ(to_string(ParseUuid("{01234567-89AB-cDeF-0011-223344556677}")),
              "01234567-89ab-cdef-0011-223344556677");
}

TEST(ParseUuidTest, EveryDigitIsTakenAtEitherPlaceOfAByte) {
    EXPECT_EQ(to_string(ParseUuid("fedcba98-7654-3210-0123-456789abcdef")),
              "fedcba98-7654-3210-0123-456789abcdef");
    EXPECT_EQ(to_string(ParseUuid("0f1e2d3c-4b5a-6978-8796-A5B4C3D2E1F0")),
              "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0");
}

class ParseUuidRefusalTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ParseUuidRefusalTest, TextIsRefused) {
    EXPECT_EQ(ThrownText([] { ParseUuid(GetParam()); }), "invalid uuid string");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseUuidRefusalTest,
    ::testing::Values("",                                         //
                      "0123456789abcdef0011223344556677",         // no hyphens
                      "{01234567-89ab-cdef-0011-223344556677",    // one brace only
                      "01234567-89ab-cdef-0011-223344556677}",    //
                      "(01234567-89ab-cdef-0011-223344556677)",   // another pair
                      "{01234567-89ab-cdef-0011-223344556677)",   //
                      "(01234567-89ab-cdef-0011-223344556677}",   //
                      "0123456-789ab-cdef-0011-223344556677",     // hyphens at wrong places
                      "01234567-89abc-def-0011-223344556677",     //
                      "01234567-89ab-cdef0-011-223344556677",     //
                      "01234567-89ab-cdef-00112-23344556677",     //
                      "01234567 89ab-cdef-0011-223344556677",     // no hyphen
                      "0123456g-89ab-cdef-0011-223344556677",     // no digit
                      "0123456:-89ab-cdef-0011-223344556677",     // the neighbours of the digits
                      "01234567-:9ab-cdef-0011-223344556677",     //
                      "0123456/-89ab-cdef-0011-223344556677",     //
                      "0123456@-89ab-cdef-0011-223344556677",     //
                      "0123456G-89ab-cdef-0011-223344556677",     //
                      "0123456`-89ab-cdef-0011-223344556677",     //
                      "01234567-89ab-cdef-0011-22334455667",      // too short
                      "01234567-89ab-cdef-0011-2233445566778",    // too long
                      " 01234567-89ab-cdef-0011-223344556677 ",   //
                      "{{1234567-89ab-cdef-0011-223344556677}}",  //
                      "+1234567-89ab-cdef-0011-223344556677"));

}  // namespace
}  // namespace Kyr::Common::Logs
