#include <gtest/gtest.h>

#include "lab/simproduct/records/ProtobufWire.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

constexpr std::uint64_t kLargest = 0xFFFFFFFFFFFFFFFF;

TEST(ProtobufWireTest, IntegerIsWrittenBehindItsTagInGroupsOfSevenBits) {
    EXPECT_EQ(HexBytes("10 07"), CWireWriter().AddInteger(2, 7).Written());
    EXPECT_EQ(HexBytes("08 AC 02"), CWireWriter().AddInteger(1, 300).Written());
    EXPECT_EQ(HexBytes("08 FF FF FF FF FF FF FF FF FF 01"),
              CWireWriter().AddInteger(1, kLargest).Written());
}

TEST(ProtobufWireTest, BytesAreWrittenBehindTheirLength) {
    EXPECT_EQ(HexBytes("0A 02 68 69 12 00"),
              CWireWriter().AddBytes(1, "hi").AddBytes(2, "").Written());
}

TEST(ProtobufWireTest, LastIntegerOfTheFieldIsFound) {
    EXPECT_EQ(300u, ReadInteger(HexBytes("08 AC 02"), 1));
    EXPECT_EQ(kLargest, ReadInteger(HexBytes("08 FF FF FF FF FF FF FF FF FF 01"), 1));
    EXPECT_EQ(2u, ReadInteger(HexBytes("08 01 08 02"), 1));
    EXPECT_EQ(std::nullopt, ReadInteger({}, 1));
}

TEST(ProtobufWireTest, OtherFieldsArePassedOver) {
    // Field 2 as an integer, 3 as eight bytes, 4 as counted bytes, 5 as four bytes, then field 1.
    EXPECT_EQ(7u, ReadInteger(HexBytes("10 05"
                                       "19 01 02 03 04 05 06 07 08"
                                       "22 02 08 09"
                                       "2D 01 02 03 04"
                                       "08 07"),
                              1));
}

TEST(ProtobufWireTest, WhatIsNoMessageIsMalformed) {
    // Ends in its integer; an integer that never ends; a length beyond the message; a wire type
    // that is none.
    for (const char* message : {"08 80", "08 80 80 80 80 80 80 80 80 80 80 00",
                                "12 FF FF FF FF FF FF FF FF FF 01 00", "0F"}) {
        EXPECT_THROW(ReadInteger(HexBytes(message), 1), CMalformed) << message;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
