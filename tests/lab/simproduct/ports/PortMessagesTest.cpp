#include <gtest/gtest.h>

#include "lab/simproduct/ports/PortMessages.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::BytesAt;
using Test::HexBytes;

// Ids as they stand in headers: of the advanced port; of the legacy port, process 0x11, thread
// 0x22, message 0x33, callback 0; the same in 64-bit structures, padding after the message id.
const std::string kIds = "11 00 00 00 22 00 00 00 33 00 00 00 44 00 00 00 ";
const std::string kIds32 = "11 00 00 00 22 00 00 00 33 00 00 00 00 00 00 00 ";
const std::string kIds64 =
    "11 00 00 00 00 00 00 00 22 00 00 00 00 00 00 00 33 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 ";

/// Data length 18, total 42: command 3, fixed reply buffer of 65536 bytes, payload AA BB.
const Bytes kAlpcInline = HexBytes("12 00 2A 00 01 20 00 00 " + kIds +
                                   "03 00 00 00 00 00 00 00 02 00 00 00 00 00 01 00 AA BB");

/// Data length 16, total 40: command 3, 65480 bytes in a view, no fixed reply buffer; the bytes
/// behind the growable mark are whatever the client's stack held.
const Bytes kAlpcInView =
    HexBytes("10 00 28 00 01 20 00 00 " + kIds + "03 00 00 00 01 CC CC CC C8 FF 00 00 00 00 00 00");

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

/// The message with some of its bytes replaced.
Bytes With(Bytes message, std::initializer_list<std::pair<std::size_t, std::uint8_t>> changes) {
    for (const auto& [place, value] : changes) {
        message[place] = value;
    }
    return message;
}

/// Of the legacy port when a layout is given.
PortRequest Decode(const LpcLayout* layout, const Bytes& message) {
    return layout == nullptr ? DecodeAlpcRequest(message) : DecodeLpcRequest(*layout, message);
}

const LpcLayout* const kAdvanced = nullptr;

const struct {
    const char* name;
    const LpcLayout* layout;
    Bytes message;
    std::uint32_t command;
    std::uint32_t replyCapacity;
    Bytes payload;
    std::uint32_t lengthElsewhere;
    std::optional<std::uint32_t> replyBuffer;
} kMessages[] = {
    {"advanced", kAdvanced, kAlpcInline, 3, 65536, {0xAA, 0xBB}, 0, {}},
    {"in a view", kAdvanced, kAlpcInView, 3, 0, {}, 65480, {}},
    {"small", &kLpcLayout32, kSmall32, 3, 296, {0xAA, 0xBB, 0xCC, 0xDD}, 0, {}},
    {"small, 64 bits", &kLpcLayout64, kSmall64, 0, 0, {0xEE}, 0, {}},
    {"large", &kLpcLayout32, kLargeInline32, 3, 65536, {0x77, 0x88}, 0, 65536},
    {"by reference", &kLpcLayout32, kLargeByReference32, 3, 65536, {}, 273, 65536},
    {"by reference, 64", &kLpcLayout64, kLargeByReference64, 3, 65536, {}, 557, 65536},
};

TEST(PortMessagesTest, RequestsOfAllFormsAreReadUnlessTheyAreTruncated) {
    for (const auto& row : kMessages) {
        SCOPED_TRACE(row.name);
        const PortRequest request = Decode(row.layout, row.message);
        EXPECT_EQ(row.layout == kAdvanced ? Transport::kAlpc : Transport::kLpc, request.transport);
        EXPECT_EQ(row.command, request.command);
        EXPECT_EQ(row.replyCapacity, request.replyCapacity);
        EXPECT_EQ(row.payload, request.payload);
        EXPECT_EQ(row.lengthElsewhere, request.lengthElsewhere);
        EXPECT_EQ(row.replyBuffer, request.replyBuffer);
        for (std::size_t size = 0; size < row.message.size(); ++size) {
            EXPECT_THROW(Decode(row.layout, BytesAt(row.message, 0, size)), CMalformed) << size;
        }
    }
}

TEST(PortMessagesTest, LongestPayloadInTheMessageIsRead) {
    // 65479 bytes: data length 65495 = 0xFFD7, total 65519 = 0xFFEF.
    Bytes message = HexBytes("D7 FF EF FF 01 20 00 00 " + kIds +
                             "03 00 00 00 00 00 00 00 C7 FF 00 00 00 00 01 00");
    message.resize(65519, 0x5A);

    EXPECT_EQ(Bytes(65479, 0x5A), DecodeAlpcRequest(message).payload);
}

TEST(PortMessagesTest, BytesBehindTheMessageAreNotRead) {
    Bytes received = kSmall32;
    received.resize(328, 0xFF);

    EXPECT_EQ((Bytes{0xAA, 0xBB, 0xCC, 0xDD}), DecodeLpcRequest(kLpcLayout32, received).payload);
}

TEST(PortMessagesTest, NumbersThatContradictEachOtherAreRefused) {
    const struct {
        const char* name;
        const LpcLayout* layout;
        Bytes message;
    } kRows[] = {
        {"total length", kAdvanced, With(kAlpcInline, {{2, 0x29}})},
        {"length of the request", kAdvanced, With(kAlpcInline, {{32, 0x03}})},
        {"a payload beside a view", kAdvanced, With(kAlpcInline, {{32, 0xC8}, {33, 0xFF}})},
        {"total length, legacy", &kLpcLayout32, With(kLargeInline32, {{2, 0x3B}})},
        {"the block at another place", &kLpcLayout32, With(kLargeInline32, {{6, 0x28}})},
        {"the block with another count", &kLpcLayout32, With(kLargeInline32, {{36, 0x03}})},
        // 16 bytes of data; it needs 20.
        {"a block that ends behind the message", &kLpcLayout32,
         With(kLargeInline32, {{0, 0x10}, {2, 0x28}})},
        {"the payload here and by reference", &kLpcLayout32, With(kLargeInline32, {{44, 0x02}})},
        // Data length 8: command and flags.
        {"no capacity", &kLpcLayout32,
         HexBytes("08 00 20 00 01 20 00 00 " + kIds32 + "03 00 00 00 00 00 00 00")},
    };
    for (const auto& row : kRows) {
        EXPECT_THROW(Decode(row.layout, row.message), CMalformed) << row.name;
    }
}

TEST(EncodePortReplyTest, ReplyRepeatsTheIds) {
    // Data length 10, total 34, type 2 (reply).
    EXPECT_EQ(HexBytes("0A 00 22 00 02 00 00 00 " + kIds + "04 03 02 01 02 00 00 00 AA BB"),
              EncodePortReply(24, kAlpcInline, 0x01020304, 2, {0xAA, 0xBB}));
    // Data length 9, total 49, in 64-bit structures; the data-information block has gone.
    EXPECT_EQ(HexBytes("09 00 31 00 02 00 00 00 " + kIds64 + "00 00 00 00 01 00 00 00 AA"),
              EncodePortReply(40, kLargeByReference64, 0, 1, {0xAA}));
}

TEST(EncodePortReplyTest, ReplyWrittenElsewhereOnlyAnnouncesItsLength) {
    EXPECT_EQ(HexBytes("08 00 20 00 02 00 00 00 " + kIds32 + "00 00 00 00 00 00 01 00"),
              EncodePortReply(24, kLargeInline32, 0, 65536, {}));
}

TEST(EncodePortReplyTest, LongestReplyInAMessageFillsTheClientsBuffer) {
    const Bytes reply = EncodePortReply(24, kAlpcInline, 0, 65487, Bytes(65487, 0x5A));

    EXPECT_EQ(0xFFEFu, reply.size());
    EXPECT_EQ(HexBytes("D7 FF EF FF"), BytesAt(reply, 0, 4));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
