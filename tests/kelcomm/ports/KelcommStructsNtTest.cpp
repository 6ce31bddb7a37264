// The finished messages of the legacy port's client, byte for byte, as the system gets them.
#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

#include "kelcomm/ports/KelcommStructsNt.h"
#include "tests/kelcomm/ports/LpcWidths.h"

namespace Kyr::Test {

namespace {

template <typename Width>
class KelcommStructsNtTest : public LpcClientFixture<Width> {
  protected:
    /// Sends a payload of `length` bytes and returns the finished message.
    Bytes Message(std::uint32_t length, std::uint32_t capacity) {
        payload_ = Bytes(length, 'p');
        this->QueueReply(this->Reply(0, 0, {}));
        EXPECT_EQ(0U, this->Request(payload_, capacity));
        return this->native_.ports.requests.at(this->native_.ports.requests.size() - 1).message;
    }
    bool IsLarge(std::uint32_t length, std::uint32_t capacity) {
        return this->DataInfoOffset(Message(length, capacity)) != 0;
    }

    Bytes payload_;
};

TYPED_TEST_SUITE(KelcommStructsNtTest, LpcWidths, LpcWidthNames);

TYPED_TEST(KelcommStructsNtTest, SmallRequestIsHeaderFieldsAndPayload) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request(TextBytes("abc"), 16);
    EXPECT_EQ(HexBytes(TypeParam::kSmallMessage), this->native_.ports.requests.at(0).message);
}

TYPED_TEST(KelcommStructsNtTest, PingIsAnEmptySmallRequest) {
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(HexBytes(TypeParam::kPingMessage), this->native_.ports.requests.at(0).message);
}

TYPED_TEST(KelcommStructsNtTest, LargeReplyCapacityAddsEntriesAndKeepsThePayloadInline) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request(TextBytes("abc"), TypeParam::kSmallReply + 1);
    EXPECT_EQ(HexBytes(TypeParam::kInlineHead) + this->Address(this->reply_.data()) +
                  HexBytes(TypeParam::kReplyEntryLength) + TextBytes("abc"),
              this->native_.ports.requests.at(0).message);
}

TYPED_TEST(KelcommStructsNtTest, LongPayloadTravelsByReferenceOnly) {
    const Bytes message = this->Message(TypeParam::kSmallPayload + 1, 16);
    EXPECT_EQ(HexBytes(TypeParam::kReferenceHead) + this->Address(this->payload_.data()) +
                  HexBytes(TypeParam::kRequestEntryLength) + this->Address(this->reply_.data()) +
                  HexBytes(TypeParam::kSixteen),
              message);
}

TYPED_TEST(KelcommStructsNtTest, LargestSmallMessageFillsTheWholeMessage) {
    const Bytes message = this->Message(TypeParam::kSmallPayload, TypeParam::kSmallReply);
    EXPECT_EQ(0, this->DataInfoOffset(message));
    ASSERT_EQ(TypeParam::kHeader + 12 + TypeParam::kSmallPayload, message.size());
    EXPECT_EQ('p', message.back());
}

TYPED_TEST(KelcommStructsNtTest, OneByteMoreOnEitherSideMakesTheMessageLarge) {
    EXPECT_FALSE(this->IsLarge(TypeParam::kSmallPayload, TypeParam::kSmallReply));
    EXPECT_TRUE(this->IsLarge(TypeParam::kSmallPayload + 1, TypeParam::kSmallReply));
    EXPECT_TRUE(this->IsLarge(TypeParam::kSmallPayload, TypeParam::kSmallReply + 1));
}

TYPED_TEST(KelcommStructsNtTest, LargeMessageCopiesAsMuchPayloadAsFitsBehindTheEntries) {
    const std::uint32_t capacity = TypeParam::kSmallReply + 1;
    const Bytes inlined = this->Message(TypeParam::kInlinePayload, capacity);
    const Bytes referenced = this->Message(TypeParam::kInlinePayload + 1, capacity);
    ASSERT_FALSE(inlined.empty());
    EXPECT_EQ(inlined.size() - TypeParam::kInlinePayload, referenced.size());
    EXPECT_EQ('p', inlined.back());
    const std::size_t entry = TypeParam::kHeader + (TypeParam::kHeader == 24 ? 16 : 20);
    const Bytes address = this->Address(this->payload_.data());
    EXPECT_EQ(address, BytesAt(referenced, entry, address.size()));
}

TYPED_TEST(KelcommStructsNtTest, FlagsAreCutToThreeBits) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request(TextBytes("abc"), 16, 0xFFFFFFFE);
    const Bytes& message = this->native_.ports.requests.at(0).message;
    EXPECT_EQ(HexBytes("06 00 00 00 10 00 00 00"), BytesAt(message, message.size() - 11, 8));
}

TYPED_TEST(KelcommStructsNtTest, OneWayRequestOffersNoReplyRoom) {
    EXPECT_EQ(0U, this->Request(TextBytes("abc"), 16, 1));
    const Bytes& message = this->native_.ports.oneWays.at(0).message;
    EXPECT_EQ(HexBytes("03 00 00 00 01 00 00 00 00 00 00 00 61 62 63"),
              BytesAt(message, message.size() - 15, 15));
}

TYPED_TEST(KelcommStructsNtTest, LargeOneWayRequestOffersNoReplyRoomEither) {
    this->QueueReply(this->Reply(0, 0, {}));
    const Bytes payload(TypeParam::kSmallPayload + 1, 'p');
    EXPECT_EQ(0U, this->Request(payload, 16, 1));
    EXPECT_EQ(HexBytes(TypeParam::kOneWayReferenceHead) + this->Address(payload.data()) +
                  HexBytes(TypeParam::kRequestEntryLength) + this->Address(this->reply_.data()) +
                  HexBytes(TypeParam::kZero),
              this->native_.ports.requests.at(0).message);
}

TYPED_TEST(KelcommStructsNtTest, RequestLeavesNothingOfWhatItsMemoryHeldBefore) {
    using Structs = Kelcomm::CKelcommStructsNt<typename TypeParam::Word>;
    char reply[1];
    typename Structs::Message message;
    std::fill(std::begin(message.bytes), std::end(message.bytes), std::uint8_t{0xEE});
    Structs::BuildRequest(message, {0, 3, "abc", 3, reply, TypeParam::kSmallReply + 1});
    const Bytes expected = HexBytes(TypeParam::kInlineHead) + this->Address(reply) +
                           HexBytes(TypeParam::kReplyEntryLength) + TextBytes("abc");
    EXPECT_EQ(expected, Bytes(message.bytes, message.bytes + expected.size()));
}

TYPED_TEST(KelcommStructsNtTest, RequestWritesNothingBehindItsEnd) {
    using Structs = Kelcomm::CKelcommStructsNt<typename TypeParam::Word>;
    const Bytes payload(TypeParam::kSmallPayload + 1, 'p');
    char reply[16];
    typename Structs::Message message;
    std::fill(std::begin(message.bytes), std::end(message.bytes), std::uint8_t{0xEE});
    Structs::BuildRequest(message, {0, 3, payload.data(), TypeParam::kSmallPayload + 1, reply, 16});
    const Bytes expected = HexBytes(TypeParam::kReferenceHead) + this->Address(payload.data()) +
                           HexBytes(TypeParam::kRequestEntryLength) + this->Address(reply) +
                           HexBytes(TypeParam::kSixteen) + HexBytes("EE");
    EXPECT_EQ(expected, Bytes(message.bytes, message.bytes + expected.size()));
}

TYPED_TEST(KelcommStructsNtTest, ReplyBufferLeavesNothingOfWhatItsMemoryHeldBefore) {
    using Structs = Kelcomm::CKelcommStructsNt<typename TypeParam::Word>;
    typename Structs::Message message;
    std::fill(std::begin(message.bytes), std::end(message.bytes), std::uint8_t{0xEE});
    Structs::PrepareReply(message);
    const Bytes expected = HexBytes(TypeParam::kAnnounced);
    EXPECT_EQ(expected, Bytes(message.bytes, message.bytes + expected.size()));
}

TYPED_TEST(KelcommStructsNtTest, PreparingAReplyLeavesWhatStandsBehindItsHead) {
    using Structs = Kelcomm::CKelcommStructsNt<typename TypeParam::Word>;
    typename Structs::Message message;
    std::fill(std::begin(message.bytes), std::end(message.bytes), std::uint8_t{0xEE});
    Structs::PrepareReply(message);
    EXPECT_EQ(0, message.bytes[TypeParam::kHeader + 7]);
    EXPECT_EQ(0xEE, message.bytes[TypeParam::kHeader + 8]);
}

TYPED_TEST(KelcommStructsNtTest, ReplyBufferAnnouncesItsRoom) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request({}, 16);
    EXPECT_EQ(HexBytes(TypeParam::kAnnounced), this->native_.ports.requests.at(0).announced);
}

}  // namespace

}  // namespace Kyr::Test
