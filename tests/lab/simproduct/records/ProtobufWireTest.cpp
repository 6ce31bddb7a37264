#include <gtest/gtest.h>

#include "lab/simproduct/records/ProtobufWire.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

TEST(ProtobufWireTest, IntegerIsWrittenBehindItsTag) {
    EXPECT_EQ(HexBytes("10 07"), CWireWriter().AddInteger(2, 7).Written());
}

TEST(ProtobufWireTest, LongIntegerIsWrittenInGroupsOfSevenBits) {
    EXPECT_EQ(HexBytes("08 AC 02"), CWireWriter().AddInteger(1, 300).Written());
}

TEST(ProtobufWireTest, LargestIntegerTakesTenBytes) {
    EXPECT_EQ(HexBytes("08 FF FF FF FF FF FF FF FF FF 01"),
              CWireWriter().AddInteger(1, 0xFFFFFFFFFFFFFFFF).Written());
}

TEST(ProtobufWireTest, BytesAreWrittenBehindTheirLength) {
    EXPECT_EQ(HexBytes("0A 02 68 69 12 00"),
              CWireWriter().AddBytes(1, "hi").AddBytes(2, "").Written());
}

TEST(ProtobufWireTest, IntegerIsFound) {
    EXPECT_EQ(300u, ReadInteger(HexBytes("08 AC 02"), 1));
}

TEST(ProtobufWireTest, LargestIntegerIsFound) {
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFu, ReadInteger(HexBytes("08 FF FF FF FF FF FF FF FF FF 01"), 1));
}

TEST(ProtobufWireTest, EmptyMessageHasNoIntegers) {
    EXPECT_EQ(std::nullopt, ReadInteger({}, 1));
}

TEST(ProtobufWireTest, LastOfTwoIntegersHolds) {
    EXPECT_EQ(2u, ReadInteger(HexBytes("08 01 08 02"), 1));
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

TEST(ProtobufWireTest, MessageThatEndsInItsIntegerIsMalformed) {
    EXPECT_THROW(ReadInteger(HexBytes("08 80"), 1), CMalformed);
}

TEST(ProtobufWireTest, IntegerThatNeverEndsIsMalformed) {
    EXPECT_THROW(ReadInteger(HexBytes("08 80 80 80 80 80 80 80 80 80 80 00"), 1), CMalformed);
}

TEST(ProtobufWireTest, LengthBeyondTheMessageIsMalformed) {
    EXPECT_THROW(ReadInteger(HexBytes("12 FF FF FF FF FF FF FF FF FF 01 00"), 1), CMalformed);
}

TEST(ProtobufWireTest, UnknownWireTypeIsMalformed) {
    EXPECT_THROW(ReadInteger(HexBytes("0F"), 1), CMalformed);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
