// The finished messages of the legacy port's client, byte for byte, as the system gets them.
#include <gtest/gtest.h>

#include "kelcomm/KelcommStructsNt.h"
#include "tests/kelcomm/LpcWidths.h"

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
        return this->native_.ports.requests.back().message;
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
    EXPECT_EQ(TypeParam::kHeader + 12 + TypeParam::kSmallPayload, message.size());
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
    EXPECT_EQ(inlined.size() - TypeParam::kInlinePayload, referenced.size());
    EXPECT_EQ('p', inlined.back());
    const std::size_t entry = TypeParam::kHeader + (TypeParam::kHeader == 24 ? 16 : 20);
    const Bytes address = this->Address(this->payload_.data());
    EXPECT_EQ(address, Bytes(referenced.begin() + static_cast<std::ptrdiff_t>(entry),
                             referenced.begin() + static_cast<std::ptrdiff_t>(entry) +
                                 static_cast<std::ptrdiff_t>(address.size())));
}

TYPED_TEST(KelcommStructsNtTest, FlagsAreCutToThreeBits) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request(TextBytes("abc"), 16, 0xFFFFFFF6);
    const Bytes& message = this->native_.ports.requests.at(0).message;
    EXPECT_EQ(HexBytes("06 00 00 00 10 00 00 00"), Bytes(message.end() - 11, message.end() - 3));
}

TYPED_TEST(KelcommStructsNtTest, OneWayRequestOffersNoReplyRoom) {
    EXPECT_EQ(0U, this->Request(TextBytes("abc"), 16, 1));
    const Bytes& message = this->native_.ports.oneWays.at(0).message;
    EXPECT_EQ(HexBytes("03 00 00 00 01 00 00 00 00 00 00 00 61 62 63"),
              Bytes(message.end() - 15, message.end()));
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

TYPED_TEST(KelcommStructsNtTest, ReplyBufferAnnouncesItsRoom) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Request({}, 16);
    EXPECT_EQ(HexBytes(TypeParam::kAnnounced), this->native_.ports.requests.at(0).announced);
}

}  // namespace

}  // namespace Kyr::Test
