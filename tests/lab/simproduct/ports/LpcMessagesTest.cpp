#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "lab/simproduct/ports/LpcMessages.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

/// 24 bytes: lengths, type, data-info offset, process 0x11, thread 0x22, message 0x33, callback 0.
const std::string kIds32 = "11 00 00 00 22 00 00 00 33 00 00 00 00 00 00 00 ";
/// 32 bytes: the same ids in 64-bit structures, padding after the message id.
const std::string kIds64 =
    "11 00 00 00 00 00 00 00 22 00 00 00 00 00 00 00 33 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 ";

/// Data length 16, total 40: command 3, flags 0, capacity 296, payload AA BB CC DD.
const Bytes kSmall32 = HexBytes("10 00 28 00 01 20 00 00 " + kIds32 +
                                "03 00 00 00 00 00 00 00 28 01 00 00 AA BB CC DD");

/// Data length 13, total 53: command 0, flags 1, capacity 0, payload EE.
const Bytes kSmall64 =
    HexBytes("0D 00 35 00 03 00 00 00 " + kIds64 + "00 00 00 00 01 00 00 00 00 00 00 00 EE");

/// Data length 34, total 58, block at 36: entry 0 zero, entry 1 at 0x2000 with 65536 bytes, payload
/// 77 88.
const Bytes kLargeInline32 =
    HexBytes("22 00 3A 00 01 20 24 00 " + kIds32 +
             "03 00 00 00 00 00 00 00 00 00 01 00 "
             "02 00 00 00 00 00 00 00 00 00 00 00 00 20 00 00 00 00 01 00 77 88");

/// Data length 32, total 56, block at 36: entry 0 at 0x1000 with 273 bytes, entry 1 at 0x2000 with
/// 65536.
const Bytes kLargeByReference32 =
    HexBytes("20 00 38 00 01 20 24 00 " + kIds32 +
             "03 00 00 00 00 00 00 00 00 00 01 00 "
             "02 00 00 00 00 10 00 00 11 01 00 00 00 20 00 00 00 00 01 00");

/// Data length 52, total 92, block at 52: entry 0 at 0x7F0000001000 with 557 bytes, entry 1 at
/// 0x7F0000002000 with 65536.
const Bytes kLargeByReference64 = HexBytes("34 00 5C 00 01 20 34 00 " + kIds64 +
                                           "03 00 00 00 00 00 00 00 00 00 01 00 "
                                           "02 00 00 00 00 00 00 00 "
                                           "00 10 00 00 00 7F 00 00 2D 02 00 00 00 00 00 00 "
                                           "00 20 00 00 00 7F 00 00 00 00 01 00 00 00 00 00");

TEST(LpcMessagesTest, SmallRequestIn32BitStructuresIsRead) {
    const LpcRequest request = DecodeLpcRequest(kLpcLayout32, kSmall32);

    EXPECT_EQ(3u, request.command);
    EXPECT_EQ(0u, request.flags);
    EXPECT_EQ(296u, request.replyCapacity);
    EXPECT_EQ((Bytes{0xAA, 0xBB, 0xCC, 0xDD}), request.payload);
    EXPECT_FALSE(request.isLarge);
}

TEST(LpcMessagesTest, SmallRequestIn64BitStructuresIsRead) {
    const LpcRequest request = DecodeLpcRequest(kLpcLayout64, kSmall64);

    EXPECT_EQ(0u, request.command);
    EXPECT_EQ(1u, request.flags);
    EXPECT_EQ(0u, request.replyCapacity);
    EXPECT_EQ(Bytes{0xEE}, request.payload);
}

TEST(LpcMessagesTest, BytesBehindTheMessageAreNotRead) {
    Bytes received = kSmall32;
    received.resize(328, 0xFF);

    EXPECT_EQ((Bytes{0xAA, 0xBB, 0xCC, 0xDD}), DecodeLpcRequest(kLpcLayout32, received).payload);
}

TEST(LpcMessagesTest, LargeRequestWithItsPayloadInTheMessageIsRead) {
    const LpcRequest request = DecodeLpcRequest(kLpcLayout32, kLargeInline32);

    EXPECT_TRUE(request.isLarge);
    EXPECT_EQ(0u, request.requestEntryLength);
    EXPECT_EQ(65536u, request.replyEntryLength);
    EXPECT_EQ((Bytes{0x77, 0x88}), request.payload);
}

TEST(LpcMessagesTest, LargeRequestByReferenceIn32BitStructuresIsRead) {
    const LpcRequest request = DecodeLpcRequest(kLpcLayout32, kLargeByReference32);

    EXPECT_TRUE(request.isLarge);
    EXPECT_EQ(273u, request.requestEntryLength);
    EXPECT_EQ(65536u, request.replyEntryLength);
    EXPECT_TRUE(request.payload.empty());
}

TEST(LpcMessagesTest, LargeRequestByReferenceIn64BitStructuresIsRead) {
    const LpcRequest request = DecodeLpcRequest(kLpcLayout64, kLargeByReference64);

    EXPECT_TRUE(request.isLarge);
    EXPECT_EQ(557u, request.requestEntryLength);
    EXPECT_EQ(65536u, request.replyEntryLength);
    EXPECT_TRUE(request.payload.empty());
}

class MalformedLpcRequestTest : public ::testing::Test {
  protected:
    static void ExpectRefused(const Bytes& message) {
        EXPECT_THROW(DecodeLpcRequest(kLpcLayout32, message), CMalformed);
    }
};

TEST_F(MalformedLpcRequestTest, EveryTruncationIsRefused) {
    for (std::size_t size = 0; size < kLargeInline32.size(); ++size) {
        ExpectRefused(Bytes(kLargeInline32.begin(),
                            kLargeInline32.begin() + static_cast<std::ptrdiff_t>(size)));
    }
}

TEST_F(MalformedLpcRequestTest, NumbersThatContradictEachOtherAreRefused) {
    const std::vector<std::pair<std::size_t, std::uint8_t>> kLies[] = {
        {{2, 0x3B}},             // total length
        {{6, 0x28}},             // the block at another place
        {{36, 0x03}},            // with another count
        {{0, 0x10}, {2, 0x28}},  // that ends behind the message: 16 bytes of data, it needs 20
        {{44, 0x02}},            // the payload in the message and by reference
    };
    for (const auto& lie : kLies) {
        Bytes message = kLargeInline32;
        for (const auto& [place, value] : lie) {
            message[place] = value;
        }
        ExpectRefused(message);
    }
}

TEST_F(MalformedLpcRequestTest, DataTooShortForTheFixedFieldsIsRefused) {
    // Data length 8: command and flags, but no capacity.
    ExpectRefused(HexBytes("08 00 20 00 01 20 00 00 " + kIds32 + "03 00 00 00 00 00 00 00"));
}

TEST(LpcMessagesTest, ReplyIn32BitStructuresRepeatsTheIds) {
    // Data length 11, total 35, type 2 (reply).
    EXPECT_EQ(HexBytes("0B 00 23 00 02 00 00 00 " + kIds32 + "04 03 02 01 03 00 00 00 AA BB CC"),
              EncodeLpcReply(kLpcLayout32, kLargeInline32, 0x01020304, 3, {0xAA, 0xBB, 0xCC}));
}

TEST(LpcMessagesTest, ReplyIn64BitStructuresRepeatsTheIds) {
    // Data length 9, total 49.
    EXPECT_EQ(HexBytes("09 00 31 00 02 00 00 00 " + kIds64 + "00 00 00 00 01 00 00 00 AA"),
              EncodeLpcReply(kLpcLayout64, kLargeByReference64, 0, 1, {0xAA}));
}

TEST(LpcMessagesTest, ReplyWrittenElsewhereOnlyAnnouncesItsLength) {
    EXPECT_EQ(HexBytes("08 00 20 00 02 00 00 00 " + kIds32 + "00 00 00 00 00 00 01 00"),
              EncodeLpcReply(kLpcLayout32, kLargeInline32, 0, 65536, {}));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
