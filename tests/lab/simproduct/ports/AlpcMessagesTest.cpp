#include <gtest/gtest.h>

#include "lab/simproduct/ports/AlpcMessages.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

const std::string kIds = "11 00 00 00 22 00 00 00 33 00 00 00 44 00 00 00 ";

/// Data length 18, total 42: command 3, fixed reply buffer of 65536 bytes, payload AA BB.
const Bytes kInline = HexBytes("12 00 2A 00 01 20 00 00 " + kIds +
                               "03 00 00 00 00 00 00 00 02 00 00 00 00 00 01 00 AA BB");

/// Data length 16, total 40: command 3, 65480 bytes in a view, no fixed reply buffer; the bytes
/// behind the growable mark are whatever the client's stack held.
const Bytes kInView =
    HexBytes("10 00 28 00 01 20 00 00 " + kIds + "03 00 00 00 01 CC CC CC C8 FF 00 00 00 00 00 00");

TEST(AlpcMessagesTest, RequestWithItsPayloadInTheMessageIsRead) {
    const AlpcRequest request = DecodeAlpcRequest(kInline);

    EXPECT_EQ(3u, request.command);
    EXPECT_FALSE(request.growableReply);
    EXPECT_EQ(65536u, request.replyCapacity);
    EXPECT_FALSE(request.payloadInView);
    EXPECT_EQ((Bytes{0xAA, 0xBB}), request.payload);
}

TEST(AlpcMessagesTest, RequestWithItsPayloadInAViewIsRead) {
    const AlpcRequest request = DecodeAlpcRequest(kInView);

    EXPECT_TRUE(request.payloadInView);
    EXPECT_EQ(65480u, request.requestLength);
    EXPECT_TRUE(request.payload.empty());
}

TEST(AlpcMessagesTest, OnlyTheLowByteOfTheGrowableMarkCounts) {
    EXPECT_TRUE(DecodeAlpcRequest(kInView).growableReply);
    Bytes message = kInView;
    message[28] = 0;
    EXPECT_FALSE(DecodeAlpcRequest(message).growableReply);
}

TEST(AlpcMessagesTest, LongestPayloadInTheMessageIsRead) {
    // 65479 bytes: data length 65495 = 0xFFD7, total 65519 = 0xFFEF.
    Bytes message = HexBytes("D7 FF EF FF 01 20 00 00 " + kIds +
                             "03 00 00 00 00 00 00 00 C7 FF 00 00 00 00 01 00");
    message.resize(65519, 0x5A);

    EXPECT_EQ(Bytes(65479, 0x5A), DecodeAlpcRequest(message).payload);
}

TEST(AlpcMessagesTest, EveryTruncationIsRefused) {
    for (std::size_t size = 0; size < kInline.size(); ++size) {
        EXPECT_THROW(DecodeAlpcRequest(Bytes(kInline.begin(),
                                             kInline.begin() + static_cast<std::ptrdiff_t>(size))),
                     CMalformed);
    }
}

TEST(AlpcMessagesTest, LengthsThatDoNotAgreeAreRefused) {
    Bytes message = kInline;
    message[2] = 0x29;
    EXPECT_THROW(DecodeAlpcRequest(message), CMalformed);
}

TEST(AlpcMessagesTest, RequestLengthThatIsNotThePayloadsIsRefused) {
    Bytes message = kInline;
    message[32] = 0x03;
    EXPECT_THROW(DecodeAlpcRequest(message), CMalformed);
}

TEST(AlpcMessagesTest, PayloadBesideAViewIsRefused) {
    Bytes message = kInline;
    message[32] = 0xC8;
    message[33] = 0xFF;
    EXPECT_THROW(DecodeAlpcRequest(message), CMalformed);
}

TEST(AlpcMessagesTest, ReplyRepeatsTheIds) {
    // Data length 10, total 34, type 2 (reply).
    EXPECT_EQ(HexBytes("0A 00 22 00 02 00 00 00 " + kIds + "04 03 02 01 02 00 00 00 AA BB"),
              EncodeAlpcReply(kInline, 0x01020304, 2, {0xAA, 0xBB}));
}

TEST(AlpcMessagesTest, LongestReplyInAMessageFillsTheClientsBuffer) {
    const Bytes reply = EncodeAlpcReply(kInline, 0, 65487, Bytes(65487, 0x5A));

    EXPECT_EQ(0xFFEFu, reply.size());
    EXPECT_EQ(HexBytes("D7 FF EF FF"), Bytes(reply.begin(), reply.begin() + 4));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
