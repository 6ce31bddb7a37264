// Legacy ports: requests and replies, one-way messages, limits, kinds and ids.
#include <future>

#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcExchangeTest : public LpcPortFixture {};

TEST_F(LpcExchangeTest, RequestIsAnsweredWithTheServersData) {
    Serve(OnRequests([](LpcCall& call) {
        EXPECT_EQ(call.Data(), ToBytes("question"));
        EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
    }));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, ToBytes("question")), ToBytes("answer"));
    EXPECT_EQ(CloseHandle(port), 1);
}

TEST_F(LpcExchangeTest, EmptyMessagesCross) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, {}), Bytes());
}

TEST_F(LpcExchangeTest, LongestMessageCrossesBothWays) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    const Bytes data = Pattern(LpcLayout::kMaxMessage - LpcLayout::kHeaderSize);
    EXPECT_EQ(Ask(port, data), data);
}

TEST_F(LpcExchangeTest, TooLongMessageIsRefusedAndThePortGoesOn) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = LpcMessage({});
    Put(request.data(), 2, static_cast<std::uint16_t>(LpcLayout::kMaxMessage + 1));
    Bytes reply;
    EXPECT_EQ(Exchange(port, request, reply), kStatusPortMessageTooLong);
    EXPECT_EQ(NtRequestPort(port, request.data()), kStatusPortMessageTooLong);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(LpcExchangeTest, DataLongerThanTheMessageIsInvalid) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = LpcMessage(ToBytes("abcd"));
    Put<std::uint16_t>(request.data(), 0, 5);
    Bytes reply;
    EXPECT_EQ(Exchange(port, request, reply), kStatusInvalidParameter);
    EXPECT_EQ(NtRequestPort(port, request.data()), kStatusInvalidParameter);
}

TEST_F(LpcExchangeTest, KindAndIdsAreTheSystems) {
    std::uint32_t messageId = 0;
    Serve(OnRequests([&](LpcCall& call) {
        EXPECT_EQ(GetWord(call.message.data(), LpcLayout::kProcessId), CurrentProcessId());
        EXPECT_NE(GetWord(call.message.data(), LpcLayout::kThreadId), 0u);
        messageId = Get<std::uint32_t>(call.message.data(), LpcLayout::kMessageId);
        EXPECT_NE(messageId, 0u);
        call.Reply({});
    }));
    const Handle port = Connect();
    Bytes request = LpcMessage(ToBytes("x"));
    Put<std::uint16_t>(request.data(), 4, 7);
    Put<std::uint32_t>(request.data(), LpcLayout::kMessageId, 0x1234);
    Bytes reply;
    ASSERT_EQ(Exchange(port, request, reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), kLpcReply);
    EXPECT_EQ(Get<std::uint32_t>(reply.data(), LpcLayout::kMessageId), messageId);
    EXPECT_EQ(GetWord(reply.data(), LpcLayout::kProcessId), CurrentProcessId());
}

TEST_F(LpcExchangeTest, RequestAndReplyMayShareOneBuffer) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes buffer = LpcMessage(ToBytes("both"));
    EXPECT_EQ(NtRequestWaitReplyPort(port, buffer.data(), buffer.data()), kStatusSuccess);
    EXPECT_EQ(LpcData(buffer.data()), ToBytes("both"));
}

TEST_F(LpcExchangeTest, OneWayMessageArrivesAsADatagram) {
    Bytes received;
    Serve([&](LpcCall& call) {
        if (Kind(call.message.data()) == kLpcDatagram) {
            received = call.Data();
            EXPECT_EQ(call.Reply({}), kStatusReplyMessageMismatch);
        } else if (Kind(call.message.data()) == kLpcRequest) {
            call.Reply({});
        }
    });
    const Handle port = Connect();
    Bytes message = LpcMessage(ToBytes("note"));
    EXPECT_EQ(NtRequestPort(port, message.data()), kStatusSuccess);
    Ask(port, {});
    CloseHandle(port);
    StopServer();
    EXPECT_EQ(received, ToBytes("note"));
}

TEST_F(LpcExchangeTest, SecondReplyIsAMismatch) {
    std::promise<void> checked;
    Serve(OnRequests([&](LpcCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("first")), kStatusSuccess);
        EXPECT_EQ(call.Reply(ToBytes("second")), kStatusReplyMessageMismatch);
        checked.set_value();
    }));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, {}), ToBytes("first"));
    checked.get_future().get();
}

TEST_F(LpcExchangeTest, ReplyWithForeignIdsIsAMismatch) {
    Serve(OnRequests([](LpcCall& call) {
        Bytes foreign = call.message;
        PutWord(foreign.data(), LpcLayout::kThreadId, 1);
        LpcCall other{call.port, foreign, nullptr};
        EXPECT_EQ(other.Reply({}), kStatusReplyMessageMismatch);
        Put<std::uint32_t>(foreign.data(), LpcLayout::kMessageId, 0x7FFFFFFF);
        EXPECT_EQ(other.Reply({}), kStatusReplyMessageMismatch);
        EXPECT_EQ(call.Reply(ToBytes("right")), kStatusSuccess);
    }));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, {}), ToBytes("right"));
}

TEST_F(LpcExchangeTest, ServersTooLongReplyIsRefusedAndTheRequestStaysOpen) {
    Serve(OnRequests([](LpcCall& call) {
        Bytes reply = call.message;
        Put(reply.data(), 2, static_cast<std::uint16_t>(LpcLayout::kMaxMessage + 1));
        EXPECT_EQ(NtReplyPort(call.port, reply.data()), kStatusPortMessageTooLong);
        Put(reply.data(), 2, static_cast<std::uint16_t>(LpcLayout::kHeaderSize));
        Put<std::uint16_t>(reply.data(), 0, 1);
        EXPECT_EQ(NtReplyPort(call.port, reply.data()), kStatusInvalidParameter);
        EXPECT_EQ(call.Reply({}), kStatusSuccess);
    }));
    const Handle port = Connect();
    Ask(port, {});
}

TEST_F(LpcExchangeTest, ThreadsOfOneClientGetTheirOwnReplies) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    AskOnThreads(port, 4, 200);
}

TEST_F(LpcExchangeTest, WhatIsNoPortIsAnInvalidHandle) {
    Serve(OnRequests(Echo));
    const Handle closed = Connect();
    CloseHandle(closed);
    const Handle mutex = CreateMutexW(nullptr, 0, u"Global\\NoPort");
    for (const Handle handle :
         {Handle{nullptr}, closed, mutex, reinterpret_cast<Handle>(0x12345)}) {
        Bytes message = LpcMessage({});
        EXPECT_EQ(NtRequestPort(handle, message.data()), kStatusInvalidHandle);
        EXPECT_EQ(NtRequestWaitReplyPort(handle, message.data(), message.data()),
                  kStatusInvalidHandle);
        EXPECT_EQ(NtReplyPort(handle, message.data()), kStatusInvalidHandle);
        EXPECT_EQ(NtReadRequestData(handle, message.data(), 0, nullptr, 0, nullptr),
                  kStatusInvalidHandle);
    }
    EXPECT_EQ(CloseHandle(closed), 0);
    EXPECT_EQ(NtClose(closed), kStatusInvalidHandle);
    CloseHandle(mutex);
}

}  // namespace

}  // namespace Kyr::Test
