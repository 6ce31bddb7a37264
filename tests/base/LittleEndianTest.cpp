#include <gtest/gtest.h>
#include <vector>

#include "base/LittleEndian.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Test {

namespace {

TEST(LittleEndianTest, LowestByteComesFirst) {
    std::vector<std::uint8_t> bytes(15, 0xEE);
    Base::StoreLittleEndian<std::uint16_t>(bytes.data(), 0x0102);
    Base::StoreLittleEndian<std::uint32_t>(bytes.data() + 2, 0x03040506);
    Base::StoreLittleEndian<std::uint64_t>(bytes.data() + 6, 0x0708090A0B0C0D0E);
    EXPECT_EQ(HexBytes("02 01 06 05 04 03 0E 0D 0C 0B 0A 09 08 07 EE"), bytes);
}

TEST(LittleEndianTest, NumbersComeBackFromAnyAddress) {
    const std::vector<std::uint8_t> bytes = HexBytes("00 F1 F2 F3 F4 F5 F6 F7 F8");
    EXPECT_EQ(0xF2F1U, Base::LoadLittleEndian<std::uint16_t>(bytes.data() + 1));
    EXPECT_EQ(0xF4F3F2F1U, Base::LoadLittleEndian<std::uint32_t>(bytes.data() + 1));
    EXPECT_EQ(0xF8F7F6F5F4F3F2F1U, Base::LoadLittleEndian<std::uint64_t>(bytes.data() + 1));
}

}  // namespace

}  // namespace Kyr::Test
