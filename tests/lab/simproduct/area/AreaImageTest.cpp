#include <gtest/gtest.h>
#include <vector>

#include "lab/simproduct/area/AreaImage.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Kyr::Test::HexBytes;

class AreaImageTest : public ::testing::Test {
  protected:
    AreaImageTest() { image_.WriteHealthy(); }

    std::vector<unsigned char> Bytes(std::size_t offset, std::size_t length) const {
        return {memory_ + offset, memory_ + offset + length};
    }

    alignas(4) std::uint8_t memory_[CAreaImage::kSize] = {};
    CAreaImage image_{memory_};
};

TEST_F(AreaImageTest, HealthyAreaHasHeaderTableAndTheServerPlugInInItsSecondEntry) {
    EXPECT_EQ(Bytes(0, 32), HexBytes("20 00 00 00 00 00 00 00 4B 65 6C 43 6F 6D 6D 20"
                                     "02 00 00 00 00 00 00 00 40 00 00 00 00 04 00 00"));
    EXPECT_EQ(Bytes(64 + 12, 12), HexBytes("50 00 00 00 00 00 00 00 03 00 00 00"));
    EXPECT_EQ(Bytes(64 + 80 + 20, 20),
              HexBytes("00 40 00 01 08 00 00 00 D0 00 00 00 02 00 00 00 00 00 00 00"));
}

TEST_F(AreaImageTest, ImageOfAnotherAreaIsWrittenAsItIs) {
    image_.WriteImage(HexBytes("24 00 00 00 01 02 03 04 FF FF FF FF EE"));
    EXPECT_EQ(Bytes(0, 16), HexBytes("24 00 00 00 01 02 03 04 FF FF FF FF 6F 6D 6D 20"));
}

TEST_F(AreaImageTest, ValuesHaveTheirPlaces) {
    const std::size_t places[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
    for (std::uint32_t index = 0; index < 10; ++index) {
        image_.SetValue(index, 0x11223344);
        EXPECT_EQ(Bytes(64 + places[index], 4), HexBytes("44 33 22 11")) << index;
        EXPECT_EQ(image_.Value(index), 0x11223344U);
    }
}

TEST_F(AreaImageTest, LastValueIsTheServerPlugInsAndChangesItsTimestamp) {
    image_.SetValue(10, 7);
    EXPECT_EQ(Bytes(64 + 208, 8), HexBytes("00 00 00 00 07 00 00 00"));
    EXPECT_EQ(Bytes(64 + 80 + 32, 4), HexBytes("04 00 00 00"));
    EXPECT_EQ(image_.Value(10), 7U);
}

TEST_F(AreaImageTest, MovedPlugInTakesItsValueAndItsFieldsAlongAndTouchesBothPlaces) {
    image_.SetValue(10, 7);
    image_.MovePlugIn(0);
    EXPECT_EQ(Bytes(64 + 80, 16), HexBytes("00 40 00 01 08 00 00 00 D0 00 00 00 06 00 00 00"));
    EXPECT_EQ(Bytes(64 + 80 + 20, 16), HexBytes("00 10 00 01 08 00 00 00 C8 00 00 00 05 00 00 00"));
    EXPECT_EQ(image_.Value(10), 7U);
    image_.Write(AreaField::kUserSize, 9);
    EXPECT_EQ(Bytes(64 + 80 + 4, 4), HexBytes("09 00 00 00"));
    EXPECT_EQ(image_.Read(AreaField::kUserSize), 9U);
}

TEST_F(AreaImageTest, TimestampsGoOnWhereAProductBeforeLeftThem) {
    image_.SetValue(10, 1);
    CAreaImage next(memory_);
    next.WriteHealthy();
    EXPECT_EQ(next.Read(AreaField::kTimestamp), 6U);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
