// What the advanced port's client makes of a reply, honest or not.
#include <gtest/gtest.h>

#include "kelcomm/client/Buffer.h"
#include "tests/kelcomm/ports/AlpcFixture.h"

namespace Kyr::Test {

namespace {

/// A buffer whose allocator has run out.
class CExhaustedBuffer : public Kelcomm::CBuffer {
  protected:
    void* Allocate(std::uint32_t) override { return nullptr; }
};

class KelcommAlpcReplyTest : public AlpcFixture {
  protected:
    /// A malformed reply is a failure, and a failure is repeated: answers both times.
    template <typename QueueOne>
    std::uint32_t ResultOfTwo(const QueueOne& queueOne, std::uint32_t capacity) {
        queueOne();
        queueOne();
        const std::uint32_t result = Request({}, capacity);
        EXPECT_EQ(2U, native_.ports.requests.size());
        EXPECT_EQ(0U, native_.CountLive("alpc port"));
        return result;
    }

    std::uint32_t RequestToBuffer() {
        return client_->RequestToBuffer(0, 3, nullptr, 0, &buffer_, 0);
    }
    Bytes Buffered() const {
        return Bytes(buffer_.GetData(), buffer_.GetData() + buffer_.GetSize());
    }

    Kelcomm::CBuffer buffer_;
};

// ---- into a fixed buffer ----

TEST_F(KelcommAlpcReplyTest, InlineReplyIsCopied) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, Request({}, 3));
    EXPECT_EQ(TextBytes("xyz"), reply_);
    EXPECT_TRUE(native_.ports.releases.empty());
}

TEST_F(KelcommAlpcReplyTest, InlineReplyOfOneByteIsCopied) {
    QueueReply(Reply(0, 1, TextBytes("x")));
    EXPECT_EQ(0U, Request({}, 3));
    EXPECT_EQ(TextBytes("x"), reply_);
}

TEST_F(KelcommAlpcReplyTest, ServerCodeIsReturnedWithoutTheReply) {
    QueueReply(Reply(0x12345678, 3, TextBytes("xyz")));
    EXPECT_EQ(0x12345678U, Request({}, 3));
    EXPECT_EQ(kUntouchedLength, replyLength_);
    EXPECT_EQ(Bytes(3, 0xEE), reply_);
    EXPECT_EQ(1U, native_.ports.requests.size());
}

TEST_F(KelcommAlpcReplyTest, ServerCodeIsReturnedThoughTheReplyIsNotThere) {
    QueueReply(Reply(77, 4, TextBytes("wxy")));
    EXPECT_EQ(77U, Request({}, 16));
    QueueReply(Reply(78, 65488, {}));
    EXPECT_EQ(78U, Request({}, 16));
    EXPECT_EQ(2U, native_.ports.requests.size());
}

TEST_F(KelcommAlpcReplyTest, ReplyLengthPointerIsOptional) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    char reply[4] = {};
    EXPECT_EQ(0U, client_->Request(0, 3, nullptr, 0, reply, 3, nullptr, 0));
    EXPECT_STREQ("xyz", reply);
}

TEST_F(KelcommAlpcReplyTest, ReplyLongerThanTheBufferDoesNotFit) {
    QueueReply(Reply(0, 4, TextBytes("wxyz")));
    EXPECT_EQ(6U, Request({}, 3));
    EXPECT_EQ(kUntouchedLength, replyLength_);
    EXPECT_EQ(1U, native_.ports.requests.size());
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcReplyTest, ReplyForAMissingBufferDoesNotFit) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(6U, client_->Request(0, 3, nullptr, 0, nullptr, 16, &replyLength_, 0));
    EXPECT_EQ(kUntouchedLength, replyLength_);
}

TEST_F(KelcommAlpcReplyTest, PingAnsweredWithBytesDoesNotFit) {
    QueueReply(Reply(0, 1, TextBytes("x")));
    EXPECT_EQ(6U, Ping());
}

TEST_F(KelcommAlpcReplyTest, EmptyReplyNeedsNoBuffer) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
}

TEST_F(KelcommAlpcReplyTest, EmptyReplyStoresItsLength) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Request({}, 16));
    EXPECT_EQ(0U, replyLength_);
}

TEST_F(KelcommAlpcReplyTest, LongestInlineReplyFillsTheMessage) {
    QueueReply(Reply(0, 65487, Bytes(65487, 'r')));
    EXPECT_EQ(0U, Request({}, 65487));
    EXPECT_EQ(Bytes(65487, 'r'), reply_);
}

// ---- views ----

TEST_F(KelcommAlpcReplyTest, LongerReplyComesInAView) {
    QueueViewReply(65488, Bytes(65488, 'v'));
    EXPECT_EQ(0U, Request({}, 65488));
    EXPECT_EQ(Bytes(65488, 'v'), reply_);
}

TEST_F(KelcommAlpcReplyTest, ViewMayBeLargerThanTheReply) {
    QueueViewReply(65488, Bytes(69632, 'v'));
    EXPECT_EQ(0U, Request({}, 70000));
    EXPECT_EQ(Bytes(65488, 'v'), reply_);
}

TEST_F(KelcommAlpcReplyTest, ShortReplyWithAViewIsStillReadFromTheMessage) {
    CScriptedPorts::Answer answer;
    answer.reply = Unreleased(Reply(0, 3, TextBytes("xyz")));
    answer.hasView = true;
    answer.view = Bytes(4096, 'v');
    native_.ports.Queue(answer);
    EXPECT_EQ(0U, Request({}, 16));
    EXPECT_EQ(TextBytes("xyz"), reply_);
}

TEST_F(KelcommAlpcReplyTest, LongReplyWithoutAViewIsMalformed) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueReply(Reply(0, 65488, {})); }, 70000));
}

TEST_F(KelcommAlpcReplyTest, ViewWithoutItsMarkIsNotRead) {
    CScriptedPorts::Answer answer;
    answer.reply = Reply(0, 65488, {});
    answer.hasView = true;
    answer.leaveOutViewMark = true;
    answer.view = Bytes(65488, 'v');
    EXPECT_EQ(1U, ResultOfTwo([&] { native_.ports.Queue(answer); }, 70000));
    EXPECT_EQ(Bytes(70000, 0xEE), reply_);
}

TEST_F(KelcommAlpcReplyTest, ViewSmallerThanTheReplyIsMalformed) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueViewReply(65488, Bytes(65487, 'v')); }, 70000));
    EXPECT_EQ(Bytes(70000, 0xEE), reply_);
}

TEST_F(KelcommAlpcReplyTest, ViewOfNoSecureSectionIsMalformed) {
    // every flag but the one that says so
    const auto queueOne = [this] { QueueViewReply(65488, Bytes(65488, 'v'), 0xFFFBFFFF); };
    EXPECT_EQ(1U, ResultOfTwo(queueOne, 70000));
}

TEST_F(KelcommAlpcReplyTest, ViewReplyThatDoesNotFitIsReleased) {
    QueueViewReply(65488, Bytes(65488, 'v'));
    EXPECT_EQ(6U, Request({}, 65487));
    EXPECT_EQ(1U, native_.ports.releases.size());
    EXPECT_EQ(0U, native_.CountLive("view"));
}

// ---- releasing the message ----

TEST_F(KelcommAlpcReplyTest, MessageThatAsksForItIsReleasedWithItsView) {
    QueueViewReply(65488, Bytes(65488, 'v'), 0x40000);
    EXPECT_EQ(0U, Request({}, 65488));
    ASSERT_EQ(1U, native_.ports.releases.size());
    EXPECT_EQ(Unreleased(Reply(0, 65488, {})), native_.ports.releases[0].message);
    EXPECT_EQ(0x50000U, native_.ports.releases[0].releasedViewFlags);
    EXPECT_EQ(0U, native_.CountLive("view"));
}

TEST_F(KelcommAlpcReplyTest, ReleaseGoesToTheSamePortAndWantsNothingBack) {
    QueueViewReply(65488, Bytes(65488, 'v'));
    Request({}, 65488, 0, -10000);
    const CScriptedPorts::Sent& release = native_.ports.releases.at(0);
    EXPECT_EQ(native_.ports.requests.at(0).port, release.port);
    EXPECT_EQ(0x10000U, release.flags);
    EXPECT_FALSE(release.hasReceiveBuffer);
    EXPECT_FALSE(release.hasBufferLength);
    EXPECT_FALSE(release.hasTimeout);
}

TEST_F(KelcommAlpcReplyTest, MessageThatDoesNotAskForItIsNotReleased) {
    Bytes message = Reply(0, 3, TextBytes("xyz"));
    message[4] = 0xFF;  // every kind and flag
    message[5] = 0xDF;  // but 0x2000
    QueueReply(message);
    EXPECT_EQ(0U, Request({}, 3));
    EXPECT_TRUE(native_.ports.releases.empty());
}

TEST_F(KelcommAlpcReplyTest, MessageWithoutAViewIsReleasedToo) {
    QueueReply(Unreleased(Reply(0, 3, TextBytes("xyz"))));
    EXPECT_EQ(0U, Request({}, 3));
    ASSERT_EQ(1U, native_.ports.releases.size());
    EXPECT_FALSE(native_.ports.releases[0].hasView);
}

TEST_F(KelcommAlpcReplyTest, ErrorReplyIsReleasedToo) {
    QueueViewReply(0, Bytes(10), 0x40000, 77);
    EXPECT_EQ(77U, Request({}, 3));
    EXPECT_EQ(1U, native_.ports.releases.size());
    EXPECT_EQ(0U, native_.CountLive("view"));
}

TEST_F(KelcommAlpcReplyTest, FailedReleaseChangesNothing) {
    native_.Fail("Release");
    QueueReply(Unreleased(Reply(0, 3, TextBytes("xyz"))));
    EXPECT_EQ(0U, Request({}, 3));
}

TEST_F(KelcommAlpcReplyTest, MalformedReplyIsReleasedToo) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueReply(Unreleased(Reply(0, 0, {}, 7))); }, 16));
    EXPECT_EQ(2U, native_.ports.releases.size());
}

// ---- malformed messages ----

TEST_F(KelcommAlpcReplyTest, ReplyWithLessThanEightDataBytesIsMalformed) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueReply(Reply(0, 0, {}, 7)); }, 16));
}

TEST_F(KelcommAlpcReplyTest, ReplyThatEndsBeforeItsBytesIsMalformed) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueReply(Reply(0, 4, TextBytes("wxy"))); }, 16));
    EXPECT_EQ(Bytes(16, 0xEE), reply_);
}

TEST_F(KelcommAlpcReplyTest, ReplyLongerThanTheReceiveBufferIsMalformed) {
    // data length 65496 in a buffer that holds 65495
    const auto queueOne = [this] { QueueReply(Reply(0, 65487, {}, 65496)); };
    EXPECT_EQ(1U, ResultOfTwo(queueOne, 70000));
}

TEST_F(KelcommAlpcReplyTest, LengthsThatDisagreeAreMalformed) {
    Bytes message = Reply(0, 0, {});
    message[2] = 0;  // total length
    EXPECT_EQ(1U, ResultOfTwo([&] { QueueReply(message); }, 16));
}

TEST_F(KelcommAlpcReplyTest, SuccessThatWroteNothingIsMalformed) {
    EXPECT_EQ(1U, ResultOfTwo([this] { QueueStatus(0); }, 16));
}

TEST_F(KelcommAlpcReplyTest, SuccessThatWroteNothingIsNotTheReplyBefore) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, Request({}, 3));
    QueueStatus(0);
    QueueStatus(0);
    EXPECT_EQ(1U, Request({}, 3));
    EXPECT_EQ(Bytes(3, 0xEE), reply_);
}

// ---- into a growable buffer ----

TEST_F(KelcommAlpcReplyTest, GrowableBufferTakesTheBytesAtItsEnd) {
    buffer_.Append("ab", 2);
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, RequestToBuffer());
    EXPECT_EQ(TextBytes("abxyz"), Buffered());
}

TEST_F(KelcommAlpcReplyTest, GrowableBufferGrowsByHalfEachTime) {
    QueueReply(Reply(0, 10, TextBytes("0123456789")));
    EXPECT_EQ(0U, RequestToBuffer());
    EXPECT_EQ(13U, buffer_.GetCapacity());  // 1 2 3 4 6 9 13
}

TEST_F(KelcommAlpcReplyTest, GrowableBufferTakesAViewReply) {
    QueueViewReply(200000, Bytes(200000, 'v'));
    EXPECT_EQ(0U, RequestToBuffer());
    EXPECT_EQ(Bytes(200000, 'v'), Buffered());
}

TEST_F(KelcommAlpcReplyTest, EmptyReplyLeavesTheGrowableBuffer) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, RequestToBuffer());
    EXPECT_EQ(0U, buffer_.GetCapacity());
}

TEST_F(KelcommAlpcReplyTest, GrowableBufferWithoutMemoryIsAFailure) {
    CExhaustedBuffer buffer;
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(1U, client_->RequestToBuffer(0, 3, nullptr, 0, &buffer, 0));
    EXPECT_EQ(0U, buffer.GetSize());
}

TEST_F(KelcommAlpcReplyTest, MissingGrowableBufferDoesNotFitAReply) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(6U, client_->RequestToBuffer(0, 3, nullptr, 0, nullptr, 0));
}

}  // namespace

}  // namespace Kyr::Test
