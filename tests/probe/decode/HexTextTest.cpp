#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "probe/decode/HexText.h"

namespace Kyr::Probe {
namespace {

// What a dump has of 18 bytes; its text looks like digits, too.
constexpr char kText[] = "Do feed face 0 ab!";

std::string Refusal(const std::string& text) {
    try {
        FromHexText(text);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "";
}

TEST(HexTextTest, DigitsAloneAreBytesHoweverTheyAreGrouped) {
    EXPECT_EQ(FromHexText("41 4243\n44"), "ABCD");
    EXPECT_EQ(FromHexText("41424344 45464748 49\r\n4A4b\r\n"), "ABCDEFGHIJK");
    EXPECT_EQ(FromHexText("0c000000 41"), std::string("\x0c\0\0\0A", 5));
    EXPECT_EQ(FromHexText(""), "");
}

TEST(HexTextTest, DigitsThatLookLikeAnOffsetAreBytesWhenTheyAreNone) {
    EXPECT_EQ(FromHexText("000000"), std::string(3, '\0'));
    EXPECT_EQ(FromHexText("00 41"), std::string("\0A", 2));
    EXPECT_EQ(FromHexText("414243 41"), "ABCA");
    EXPECT_EQ(FromHexText("000000 4142"), std::string("\0\0\0AB", 5));
    EXPECT_EQ(Refusal("0000009 41"), "line 1: half a byte");
}

TEST(HexTextTest, BytesMayBePartedByTabs) {
    EXPECT_EQ(FromHexText("41\t42 \t43\t"), "ABC");
}

TEST(HexTextTest, XxdWritesTwoBytesAGroupAndTextBehindTwoBlanks) {
    EXPECT_EQ(FromHexText("00000000: 446f 2066 6565 6420 6661 6365 2030 2061  Do feed face 0 a\n"
                          "00000010: 6221                                     b!\n"),
              kText);
}

TEST(HexTextTest, XxdMayWriteSingleBytes) {
    EXPECT_EQ(FromHexText("00000000: 44 6f 20 66 65 65 64 20  Do feed \n"
                          "00000008: 66 61 63 65 20 30 20 61  face 0 a\n"
                          "00000010: 62 21                    b!\n"),
              kText);
}

TEST(HexTextTest, ColonNeedsNoBlankBehindIt) {
    EXPECT_EQ(FromHexText("0000:4142\n"), "AB");
}

TEST(HexTextTest, TextMayLookLikeByteOfTheRow) {
    EXPECT_EQ(FromHexText("00000000: 31 32 20 34 35 36 37 38  12 45678\n"), "12 45678");
    EXPECT_EQ(FromHexText("0000  61 62  ab\n"), "ab");
    EXPECT_EQ(FromHexText("000000 31 32 20 34 35 36 37 38  12 45678\n"), "12 45678");
}

TEST(HexTextTest, HexdumpHasAGapInItsMiddleAndTextBetweenBars) {
    EXPECT_EQ(FromHexText(
                  "00000000  44 6f 20 66 65 65 64 20  66 61 63 65 20 30 20 61  |Do feed face 0 a|\n"
                  "00000010  62 21                                             |b!|\n"
                  "00000012\n"),
              kText);
}

TEST(HexTextTest, RowOfHexdumpThatEndsInItsMiddleHasNoByteOfTheText) {
    EXPECT_EQ(
        FromHexText("00000000  44 6f 20 66 65 65 64 20                           |Do feed |\n"),
        "Do feed ");
}

TEST(HexTextTest, OdWritesOctalOffsetsAndOneBlank) {
    EXPECT_EQ(FromHexText("0000000 44 6f 20 66 65 65 64 20 66 61 63 65 20 30 20 61\n"
                          "0000020 62 21\n"
                          "0000022\n"),
              kText);
}

TEST(HexTextTest, OdMayWriteHexadecimalOffsetsAndText) {
    EXPECT_EQ(
        FromHexText("000000 44 6f 20 66 65 65 64 20 66 61 63 65 20 30 20 61  >Do feed face 0 a<\n"
                    "000010 62 21                                            >b!<\n"
                    "000012\n"),
        kText);
}

TEST(HexTextTest, AnalyserWritesShortOffsetsAndThreeBlanks) {
    EXPECT_EQ(
        FromHexText("0000   44 6f 20 66 65 65 64 20 66 61 63 65 20 30 20 61   Do feed face 0 a\n"
                    "0010   62 21                                             b!\n"),
        kText);
}

TEST(HexTextTest, DebuggerPartsARowByADash) {
    EXPECT_EQ(FromHexText("0040f3e0  44 6f 20 66 65 65 64 20-66 61 63 65 20 30 20 61  Do feed\n"
                          "0040f3f0  62 21\n"),
              kText);
}

TEST(HexTextTest, DumpMayBeginAnywhere) {
    EXPECT_EQ(FromHexText("7fff1230: 4142\n7fff1232: 43\n"), "ABC");
}

TEST(HexTextTest, RepeatedRowsAreThere) {
    EXPECT_EQ(FromHexText("00000000  41 42 43 44\n*\n0000000c  45\n0000000d\n"), "ABCDABCDABCDE");
    EXPECT_EQ(FromHexText("0000000 41 42 43 44\n*\n0000020\n"), "ABCDABCDABCDABCD");
}

TEST(HexTextTest, RowBehindRepeatedOnesMayHaveOneBlankBehindItsOffset) {
    EXPECT_EQ(FromHexText("0000000 41 42 43 44\n*\n0000010 45\n0000011\n"), "ABCDABCDE");
}

TEST(HexTextTest, DumpMayFollowDigits) {
    EXPECT_EQ(FromHexText("41 42\n0000: 4344\n0002: 45\n"), "ABCDE");
}

TEST(HexTextTest, MissingRowIsNoticed) {
    EXPECT_EQ(Refusal("0000: 4142\n0010: 44\n"),
              "line 2: its offset is byte 16, but 2 came before it");
    EXPECT_EQ(Refusal("0000  41 42 43\n*\n0004  45\n"),
              "line 3: its offset is byte 4, but 6 came before it");
    EXPECT_EQ(Refusal("0000  41 42\n*\n0004  43 44\n0008  45\n"),
              "line 4: its offset is byte 8, but 6 came before it");
}

TEST(HexTextTest, DumpOfWordsIsRefused) {
    EXPECT_EQ(Refusal("0000000 6f44 6620\n0000004\n"),
              "line 1: a dump of words, in the byte order of its machine: write bytes, as xxd, "
              "hexdump -C and od -t x1 do");
}

TEST(HexTextTest, AsMuchAsAllowedIsRepeated) {
    const std::string row = "00000000  41 41 41 41 41 41 41 41  41 41 41 41 41 41 41 41\n*\n";
    EXPECT_EQ(FromHexText(row + "04000000\n").size(), std::size_t{64} * 1024 * 1024);
    EXPECT_EQ(Refusal(row + "04000001\n"), "line 3: more than 64 MiB are repeated");
}

TEST(HexTextTest, HostileRepetitionDoesNotTakeTheMemory) {
    EXPECT_EQ(Refusal("00000000  41\n*\nffffffffffff  41\n"),
              "line 3: more than 64 MiB are repeated");
    EXPECT_EQ(Refusal("ffffffffffffffffff: 41\n"), "line 1: no offset: ffffffffffffffffff");
    EXPECT_EQ(Refusal("*\n"), "line 1: no hexadecimal digit: *");
}

TEST(HexTextTest, WhatIsNoHexadecimalTextIsRefusedWithItsLine) {
    EXPECT_EQ(Refusal("4x"), "line 1: half a byte");
    EXPECT_EQ(Refusal("41\nzz"), "line 2: no hexadecimal digit: z");
    EXPECT_EQ(Refusal("41 \x1b"), "line 1: no hexadecimal digit: a byte that cannot be shown");
    EXPECT_EQ(Refusal("414"), "line 1: half a byte");
    EXPECT_EQ(Refusal("41 !"), "line 1: no hexadecimal digit: !");
    EXPECT_EQ(Refusal("41 ~"), "line 1: no hexadecimal digit: ~");
    EXPECT_EQ(Refusal("41 \x7f"), "line 1: no hexadecimal digit: a byte that cannot be shown");
    EXPECT_EQ(Refusal("41 \xc3"), "line 1: no hexadecimal digit: a byte that cannot be shown");
}

}  // namespace
}  // namespace Kyr::Probe
