#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

/// What is behind number and symbol of a row with one symbol, which is 7.
Lines Value(const std::string& kindAndValue) {
    return DecodedFrom(8, "01000000 07000000 " + kindAndValue, "symbols");
}

TEST(SymbolsTest, NumbersOfAllSymbolsStandInFrontOfTheValues) {
    EXPECT_THAT(
        Decoded("02000000 02010000 07000000 01000000 feffffffffffffff 07000000 01", "symbols"),
        ElementsAre("0+4 number of symbols: 2", "4+4 symbol: 258 (0x102)", "8+4 symbol: 7",
                    "12+4 kind: 1, number, of symbol 258",
                    "16+8 value: 18446744073709551614 (0xfffffffffffffffe), -2 with its "
                    "sign",
                    "24+4 kind: 7, yes or no, of symbol 7", "28+1 value: 01"));
}

TEST(SymbolsTest, NumberWithoutASignHasNone) {
    EXPECT_THAT(Value("01000000 ffffffffffffff7f"),
                ElementsAre("8+4 kind: 1, number, of symbol 7",
                            "12+8 value: 9223372036854775807 (0x7fffffffffffffff)"));
}

TEST(SymbolsTest, ValueOfEachKindIsShownAsWhatItIs) {
    EXPECT_THAT(
        Decoded("08000000 00000000 01000000 02000000 03000000 04000000 05000000 06000000 07000000"
                "  01000000 0500000000000000"
                "  02000000 000000000000f83f"
                "  03000000 02000000 6162"
                "  04000000 0000000000000080"
                "  05000000 0123456789abcdef0011223344556677"
                "  06000000 0080a8833d26ed02"
                "  07000000 00"
                "  08000000 02000000 ff00",
                "symbols"),
        ElementsAre("0+4 number of symbols: 8", "4+4 symbol: 0", "8+4 symbol: 1", "12+4 symbol: 2",
                    "16+4 symbol: 3", "20+4 symbol: 4", "24+4 symbol: 5", "28+4 symbol: 6",
                    "32+4 symbol: 7",  //
                    "36+4 kind: 1, number, of symbol 0", "40+8 value: 5",
                    "48+4 kind: 2, number with a fraction, of symbol 1",
                    "52+8 value: 4609434218613702656 (0x3ff8000000000000), the number 1.500000",
                    "60+4 kind: 3, text, of symbol 2", "64+4 length: 2", "68+2 value: \"ab\"",
                    "70+4 kind: 4, resource, of symbol 3",
                    "74+8 value: 9223372036854775808 (0x8000000000000000), -9223372036854775808 "
                    "with its sign",
                    "82+4 kind: 5, identifier, of symbol 4",
                    "86+16 value: 0123456789abcdef0011223344556677",
                    "102+4 kind: 6, time, of symbol 5",
                    "106+8 value: 210866803200000000 (0x2ed263d83a88000), a time in ticks",
                    "114+4 kind: 7, yes or no, of symbol 6", "118+1 value: 00",
                    "119+4 kind: 8, bytes, of symbol 7", "123+4 length: 2", "127+2 value: ff00"));
}

TEST(SymbolsTest, KindThatDoesNotExistEndsTheReading) {
    EXPECT_THAT(Value("09000000 07000000 01"),
                ElementsAre("8+4 kind: 9, not known, of symbol 7 !a kind of value that does not "
                            "exist"));
    EXPECT_THAT(Decoded("02000000 07000000 08000000  00000000  07000000 01", "symbols"),
                ElementsAre("0+4 number of symbols: 2", "4+4 symbol: 7", "8+4 symbol: 8",
                            "12+4 kind: 0, not known, of symbol 7 !a kind of value that does not "
                            "exist"));
}

TEST(SymbolsTest, WhatIsBehindTheRowIsReadByNobody) {
    EXPECT_THAT(Value("07000000 01 ff"),
                ElementsAre("8+4 kind: 7, yes or no, of symbol 7", "12+1 value: 01",
                            "13+1 behind the end: ff !nothing reads this"));
    EXPECT_THAT(
        Decoded("00000000 ff", "symbols"),
        ElementsAre("0+4 number of symbols: 0", "4+1 behind the end: ff !nothing reads this"));
}

TEST(SymbolsTest, RowMayEndAnywhere) {
    EXPECT_THAT(Decoded("0100", "symbols"),
                ElementsAre("0+2 number of symbols: 0100 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(Decoded("ffffffff 07000000 08", "symbols"),
                ElementsAre("0+4 number of symbols: 4294967295 (0xffffffff)", "4+4 symbol: 7",
                            "8+1 symbol: 08 !ends early: 1 of 4 bytes are there"));
    EXPECT_THAT(Value("01"), ElementsAre("8+1 kind: 01 !ends early: 1 of 4 bytes are there"));
}

TEST(SymbolsTest, ValueMayBeCut) {
    EXPECT_THAT(Value("01000000 05"),
                ElementsAre("8+4 kind: 1, number, of symbol 7",
                            "12+1 value: 05 !ends early: 1 of 8 bytes are there"));
    EXPECT_THAT(Value("02000000 05"),
                ElementsAre("8+4 kind: 2, number with a fraction, of symbol 7",
                            "12+1 value: 05 !ends early: 1 of 8 bytes are there"));
    EXPECT_THAT(Value("03000000 0300"),
                ElementsAre("8+4 kind: 3, text, of symbol 7",
                            "12+2 length: 0300 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(Value("03000000 03000000 6162"),
                ElementsAre("8+4 kind: 3, text, of symbol 7", "12+4 length: 3",
                            "16+2 value: 6162 !ends early: 2 of 3 bytes are there"));
    EXPECT_THAT(Value("05000000 0001"),
                ElementsAre("8+4 kind: 5, identifier, of symbol 7",
                            "12+2 value: 0001 !ends early: 2 of 16 bytes are there"));
    EXPECT_THAT(Value("06000000 05"),
                ElementsAre("8+4 kind: 6, time, of symbol 7",
                            "12+1 value: 05 !ends early: 1 of 8 bytes are there"));
    EXPECT_THAT(Value("07000000"), ElementsAre("8+4 kind: 7, yes or no, of symbol 7",
                                               "12+0 value:  !ends early: 0 of 1 bytes are there"));
}

}  // namespace
}  // namespace Kyr::Probe
