#include <gtest/gtest.h>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST(BytesTest, NumbersAreLittleEndian) {
    EXPECT_EQ(0x0201, ReadU16({1, 2}, 0));
    EXPECT_EQ(0x85040302u, ReadU32({1, 2, 3, 4, 0x85}, 1));
    Bytes bytes{9};
    AppendU32(bytes, 0x85040302);
    EXPECT_EQ((Bytes{9, 2, 3, 4, 0x85}), bytes);
    WriteU16(bytes, 1, 0xBBAA);
    EXPECT_EQ((Bytes{9, 0xAA, 0xBB, 4, 0x85}), bytes);
}

TEST(BytesTest, ReadingPastTheEndIsRefusedAndNothingWraps) {
    EXPECT_THROW(ReadU16({1}, 0), CMalformed);
    EXPECT_THROW(ReadU32({1, 2, 3, 4}, 1), CMalformed);
    EXPECT_THROW(ReadBytes({1, 2}, 1, 2), CMalformed);
    EXPECT_THROW(ReadBytes({1, 2}, static_cast<std::size_t>(-1), 2), CMalformed);
    EXPECT_THROW(ReadBytes({1, 2}, 1, static_cast<std::size_t>(-1)), CMalformed);
    EXPECT_TRUE(ReadBytes({1, 2}, 2, 0).empty());
}

TEST(BytesTest, HexadecimalHasTwoDigitsAByte) {
    EXPECT_EQ("000fa5", ToHex({0x00, 0x0F, 0xA5}));
    EXPECT_EQ((Bytes{0x00, 0x0F, 0xA5}), FromHex("000fA5"));
}

TEST(BytesTest, TextThatIsNoHexadecimalIsRefused) {
    for (const char* text : {"0", "0g", "00 0f", "0x00"}) {
        EXPECT_THROW(FromHex(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
