#include <gtest/gtest.h>
#include <stdexcept>

#include "kelcomm/KelcommChannelBuffer.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

using Test::HexBytes;

class KelcommChannelBufferTest : public testing::Test {
  protected:
    void Hold(const std::string& hex) {
        const auto bytes = HexBytes(hex);
        buffer_.Append(bytes.data(), bytes.size());
    }

    void ExpectNotFullEnough(std::size_t length) {
        std::vector<unsigned char> destination(length);
        try {
            buffer_.Read(destination.data(), length);
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "KelcommChannelBuffer: Buffer is not full enough");
        }
    }

    KelcommChannelBuffer buffer_;
};

TEST_F(KelcommChannelBufferTest, NewBufferIsEmptyWith65536BytesReserved) {
    EXPECT_TRUE(buffer_.IsEmpty());
    EXPECT_EQ(buffer_.GetReadPosition(), 0u);
    EXPECT_EQ(buffer_.GetBytes().capacity(), 65536u);
}

TEST_F(KelcommChannelBufferTest, AppendStoresAtTheEnd) {
    Hold("01 02");
    Hold("03");
    EXPECT_EQ(buffer_.GetBytes(), HexBytes("01 02 03"));
}

TEST_F(KelcommChannelBufferTest, AppendOfNothingLeavesTheBufferEmpty) {
    buffer_.Append(nullptr, 0);
    EXPECT_TRUE(buffer_.IsEmpty());
}

TEST_F(KelcommChannelBufferTest, NumbersAreReadLittleEndian) {
    Hold("04 03 02 81 00");
    EXPECT_EQ(buffer_.ReadU32(), 0x81020304u);
    EXPECT_EQ(buffer_.GetReadPosition(), 4u);
}

TEST_F(KelcommChannelBufferTest, ResizeAddsZeros) {
    Hold("FF");
    buffer_.Resize(3);
    EXPECT_EQ(buffer_.GetBytes(), HexBytes("FF 00 00"));
}

TEST_F(KelcommChannelBufferTest, ResizeCutsAndThenNothingRemains) {
    Hold("01 02 03 04 05");
    buffer_.ReadU32();
    buffer_.Resize(2);
    EXPECT_EQ(buffer_.GetRemaining(), 0u);
    ExpectNotFullEnough(1);
}

TEST_F(KelcommChannelBufferTest, RenewedBufferHoldsZerosOnly) {
    Hold("FF FE");
    buffer_.Renew(3);
    EXPECT_EQ(buffer_.GetBytes(), HexBytes("00 00 00"));
    Hold("FF");
    buffer_.Renew(100000);
    EXPECT_EQ(buffer_.GetBytes(), std::vector<unsigned char>(100000));
}

TEST_F(KelcommChannelBufferTest, RenewedBufferKeepsARoomThatIsLargeEnough) {
    buffer_.Renew(65536);
    EXPECT_EQ(buffer_.GetBytes().capacity(), 65536u);
    buffer_.Renew(1);
    EXPECT_EQ(buffer_.GetBytes().capacity(), 65536u);
    buffer_.Renew(65537);
    EXPECT_EQ(buffer_.GetBytes().capacity(), 65537u);
}

TEST_F(KelcommChannelBufferTest, ReadAdvancesThePosition) {
    Hold("01 02 03");
    unsigned char two[2] = {};
    buffer_.Read(two, 2);
    EXPECT_EQ(two[1], 2);
    EXPECT_EQ(buffer_.GetReadPosition(), 2u);
    EXPECT_EQ(buffer_.GetRemaining(), 1u);
}

TEST_F(KelcommChannelBufferTest, ReadToTheLastByteSucceeds) {
    Hold("61 00 63");
    std::vector<unsigned char> destination(3);
    buffer_.Read(destination.data(), 3);
    EXPECT_EQ(destination, HexBytes("61 00 63"));
    EXPECT_EQ(buffer_.GetRemaining(), 0u);
}

TEST_F(KelcommChannelBufferTest, ReadPastTheEndThrowsAndMovesNothing) {
    Hold("01 02 03");
    ExpectNotFullEnough(4);
    EXPECT_EQ(buffer_.GetReadPosition(), 0u);
}

TEST_F(KelcommChannelBufferTest, NumberPastTheEndThrowsAndMovesNothing) {
    Hold("01 02 03");
    EXPECT_THROW(buffer_.ReadU32(), std::runtime_error);
    EXPECT_EQ(buffer_.GetReadPosition(), 0u);
}

TEST_F(KelcommChannelBufferTest, ReadFromAPositionBehindTheEndThrows) {
    Hold("01 02 03");
    buffer_.SetReadPosition(0xFFFFFFFF);
    ExpectNotFullEnough(1);
}

TEST_F(KelcommChannelBufferTest, ReadOfNothingAtTheEndSucceeds) {
    EXPECT_NO_THROW(buffer_.Read(nullptr, 0));
}

TEST_F(KelcommChannelBufferTest, TakenBytesLeaveTheBufferEmpty) {
    Hold("01 02 03 04");
    buffer_.ReadU32();
    EXPECT_EQ(buffer_.TakeBytes(), HexBytes("01 02 03 04"));
    EXPECT_TRUE(buffer_.IsEmpty());
    EXPECT_EQ(buffer_.GetReadPosition(), 0u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm
