#include <gmock/gmock.h>
#include <string>

#include "probe/decode/FieldReader.h"
#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Repeated(std::size_t count, const std::string& text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(FieldReaderTest, NumbersFromTenOnAreWrittenInBothWays) {
    EXPECT_EQ(NumberText(0), "0");
    EXPECT_EQ(NumberText(9), "9");
    EXPECT_EQ(NumberText(10), "10 (0xa)");
}

TEST(FieldReaderTest, OfManyBytesTheFirstAreShown) {
    EXPECT_EQ(BytesText(std::string("\x01\xAB", 2)), "01ab");
    EXPECT_EQ(BytesText(std::string(32, 'A')), Repeated(32, "41"));
    EXPECT_EQ(BytesText(std::string(33, 'A')), Repeated(32, "41") + "... (33 bytes)");
}

TEST(FieldReaderTest, OfLongTextTheFirstBytesAreShown) {
    EXPECT_EQ(QuotedText(""), "\"\"");
    EXPECT_EQ(QuotedText(std::string(200, 'a')), '"' + std::string(200, 'a') + '"');
    EXPECT_EQ(QuotedText(std::string(201, 'a')), '"' + std::string(200, 'a') + "\"... (201 bytes)");
    EXPECT_EQ(QuotedText(std::string(199, 'a') + "\xC3\xA4"),
              '"' + std::string(199, 'a') + "\xC3\xA4\"");
}

TEST(FieldReaderTest, QuotesAreKeptApartFromThoseOfTheText) {
    EXPECT_EQ(QuotedText("a\"\\b"), "\"a\\x22\\x5cb\"");
    EXPECT_EQ(HarmlessText("a\"\\b"), "a\"\\b");
}

TEST(FieldReaderTest, ControlCharactersAreShownAsTheirBytes) {
    EXPECT_EQ(HarmlessText(std::string("a\0\n\x1f b~\x7f", 8)), "a\\x00\\x0a\\x1f b~\\x7f");
    EXPECT_EQ(HarmlessText("\xC2\x80 \xC2\x9F"), "\\xc2\\x80 \\xc2\\x9f");
    EXPECT_EQ(HarmlessText(""), "");
}

TEST(FieldReaderTest, CharactersAreShownAsTheyAre) {
    for (const std::string text :
         {"\xC2\xA0", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(HarmlessText(text + "."), text + ".");
    }
}

TEST(FieldReaderTest, WhatIsNoUtf8IsShownAsItsBytes) {
    EXPECT_EQ(HarmlessText("\xC3"), "\\xc3");
    EXPECT_EQ(HarmlessText("\xE2\x82"), "\\xe2\\x82");
    EXPECT_EQ(HarmlessText("\xC3"
                           "a"),
              "\\xc3a");
    EXPECT_EQ(HarmlessText("\x80\xBF"), "\\x80\\xbf");
    EXPECT_EQ(HarmlessText("\xF5\x80\x80\x80"), "\\xf5\\x80\\x80\\x80");
}

TEST(FieldReaderTest, WhatIsBehindTheEndOfTheTextIsNoPartOfIt) {
    EXPECT_EQ(HarmlessText(std::string_view("a\xC3\xA4", 2)), "a\\xc3");
}

TEST(FieldReaderTest, CharacterThatIsLongerThanItNeedBeIsNone) {
    EXPECT_EQ(HarmlessText("\xC0\x80 \xC1\xBF"), "\\xc0\\x80 \\xc1\\xbf");
    EXPECT_EQ(HarmlessText("\xE0\x9F\xBF"), "\\xe0\\x9f\\xbf");
    EXPECT_EQ(HarmlessText("\xF0\x8F\xBF\xBF"), "\\xf0\\x8f\\xbf\\xbf");
}

TEST(FieldReaderTest, HalvesOfPairsAndWhatIsBehindTheLastCharacterAreNone) {
    EXPECT_EQ(HarmlessText("\xED\xA0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(HarmlessText("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(FieldReaderTest, NumbersAreTakenFromTheFront) {
    const std::string bytes = FromHexText("0102 01020304 0102030405060708 ff");
    Layout layout;
    CFieldReader reader(bytes, layout);
    EXPECT_EQ(reader.U16("two"), 0x0201u);
    EXPECT_EQ(reader.U32("four"), 0x04030201u);
    EXPECT_EQ(reader.U64("eight"), 0x0807060504030201u);
    EXPECT_EQ(reader.At(), 14u);
    EXPECT_EQ(reader.Remaining(), 1u);
    EXPECT_EQ(reader.Rest(), "\xff");
    EXPECT_THAT(LinesOf(layout),
                ElementsAre("0+2 two: 513 (0x201)", "2+4 four: 67305985 (0x4030201)",
                            "6+8 eight: 578437695752307201 (0x807060504030201)"));
}

TEST(FieldReaderTest, NothingIsGivenOnceSomethingWasMissing) {
    Layout layout;
    CFieldReader reader("ab", layout);
    EXPECT_EQ(reader.U32("four"), std::nullopt);
    EXPECT_FALSE(reader.IsGood());
    EXPECT_EQ(reader.U16("two"), std::nullopt);
    reader.Bytes("one", 1);
    reader.Expect32("right", 0);
    reader.ExpectEnd();
    EXPECT_EQ(reader.At(), 0u);
    EXPECT_THAT(LinesOf(layout), ElementsAre("0+2 four: 6162 !ends early: 2 of 4 bytes are there"));
}

TEST(FieldReaderTest, AnyLengthMayBeAskedFor) {
    Layout layout;
    CFieldReader reader("ab", layout);
    EXPECT_EQ(reader.Take("none", 0), "");
    EXPECT_EQ(reader.Take("both", 2), "ab");
    EXPECT_THAT(LinesOf(layout), IsEmpty());
    reader.Bytes("all", UINT64_MAX);
    EXPECT_THAT(LinesOf(layout),
                ElementsAre("2+0 all:  !ends early: 0 of 18446744073709551615 bytes are there"));
}

TEST(FieldReaderTest, LengthThatIsExactlyThereLeavesNothingBehind) {
    Layout layout;
    CFieldReader reader("ab", layout);
    reader.EndAfter(2);
    reader.EndAfter(3);
    reader.Bytes("both", 2);
    reader.ExpectEnd();
    EXPECT_THAT(LinesOf(layout), ElementsAre("0+2 both: 6162"));
}

TEST(FieldReaderTest, WhatIsBehindTheBodyIsNotedAndNotRead) {
    Layout layout;
    CFieldReader reader("abcd", layout);
    reader.Bytes("one", 1);
    reader.EndAfter(1);
    EXPECT_EQ(reader.Rest(), "b");
    EXPECT_THAT(LinesOf(layout), ElementsAre("0+1 one: 61", "2+2 behind the body: 6364"));
}

}  // namespace
}  // namespace Kyr::Probe
