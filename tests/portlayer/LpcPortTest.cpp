// Legacy ports: what they alone have of connecting, limits, kinds and ids.
#include <atomic>

#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcPortTest : public LpcPortFixture {};

TEST_F(LpcPortTest, LettersOfEitherCaseAreOneName) {
    Serve(Ignore);
    UnicodeString name;
    RtlInitUnicodeString(&name, u"\\basenamedobjects\\CONTRACTPORT");
    Handle port = nullptr;
    EXPECT_EQ(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              kStatusSuccess);
    CloseHandle(port);
}

TEST_F(LpcPortTest, PortsLongestMessageIsToldAndBoundsTheClient) {
    const Handle server = CreatePort(100);
    auto connecting = std::async(std::launch::async, [this] {
        Handle port = nullptr;
        std::uint32_t longest = 0;
        EXPECT_EQ(
            NtConnectPort(&port, Name(), nullptr, nullptr, nullptr, &longest, nullptr, nullptr),
            kStatusSuccess);
        EXPECT_EQ(longest, 100u);
        return CloseLater(port);
    });
    Bytes request = Receive(server);
    Accept(server, request);
    const Handle port = connecting.get();
    EXPECT_EQ(SendOneWay(port, LpcMessage(Pattern(100 - LpcLayout::kHeaderSize + 1))),
              kStatusPortMessageTooLong);
}

TEST_F(LpcPortTest, PortLimitsBeyondTheSystemsAreInvalid) {
    Handle port = nullptr;
    EXPECT_EQ(NtCreatePort(&port, Attributes(), 0, LpcLayout::kMaxMessage + 1, 0),
              kStatusInvalidParameter4);
    EXPECT_EQ(NtCreatePort(&port, Attributes(), LpcLayout::kMaxMessage, 100, 0),
              kStatusInvalidParameter3);
}

TEST_F(LpcPortTest, ClientWaitsForTheCompletion) {
    const Handle server = CreatePort();
    std::atomic<bool> completed{false};
    auto connecting = std::async(std::launch::async, [&] {
        Connect();
        EXPECT_TRUE(completed.load());
    });
    Bytes request = Receive(server);
    Handle accepted = nullptr;
    NtAcceptConnectPort(&accepted, nullptr, request.data(), 1, nullptr, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    completed = true;
    EXPECT_EQ(NtCompleteConnectPort(accepted), kStatusSuccess);
    EXPECT_EQ(NtCompleteConnectPort(accepted), kStatusPortDisconnected);
    connecting.get();
    CloseHandle(accepted);
}

TEST_F(LpcPortTest, DataLongerThanTheMessageIsInvalid) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = LpcMessage(ToBytes("abcd"));
    Put<std::uint16_t>(request.data(), 0, 5);
    Bytes reply;
    EXPECT_EQ(Exchange(port, request, reply), kStatusInvalidParameter);
    EXPECT_EQ(SendOneWay(port, request), kStatusInvalidParameter);
}

TEST_F(LpcPortTest, KindAndIdsAreTheSystems) {
    std::uint32_t messageId = 0;
    Serve(OnRequests([&](ReceivedCall& call) {
        EXPECT_EQ(GetWord(call.message.data(), LpcLayout::kProcessId), CurrentProcessId());
        EXPECT_NE(GetWord(call.message.data(), LpcLayout::kThreadId), 0u);
        messageId = Get<std::uint32_t>(call.message.data(), LpcLayout::kMessageId);
        EXPECT_NE(messageId, 0u);
        call.Reply({});
    }));
    Bytes request = LpcMessage(ToBytes("x"));
    Put<std::uint16_t>(request.data(), 4, 7);
    Put<std::uint32_t>(request.data(), LpcLayout::kMessageId, 0x1234);
    Bytes reply;
    ASSERT_EQ(Exchange(Connect(), request, reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), kLpcReply);
    EXPECT_EQ(Get<std::uint32_t>(reply.data(), LpcLayout::kMessageId), messageId);
    EXPECT_EQ(GetWord(reply.data(), LpcLayout::kProcessId), CurrentProcessId());
}

TEST_F(LpcPortTest, RequestAndReplyMayShareOneBuffer) {
    Serve(OnRequests(Echo));
    Bytes buffer = LpcMessage(ToBytes("both"));
    EXPECT_EQ(NtRequestWaitReplyPort(Connect(), buffer.data(), buffer.data()), kStatusSuccess);
    EXPECT_EQ(LpcData(buffer.data()), ToBytes("both"));
}

TEST_F(LpcPortTest, ReplyWithForeignIdsIsAMismatch) {
    Serve(OnRequests([](ReceivedCall& call) {
        Bytes foreign = call.message;
        PutWord(foreign.data(), LpcLayout::kThreadId, 1);
        ReceivedCall other{call.kind, call.port, call.client, foreign, call.attributes};
        EXPECT_EQ(other.Reply({}), kStatusReplyMessageMismatch);
        Put<std::uint32_t>(foreign.data(), LpcLayout::kMessageId, 0x7FFFFFFF);
        EXPECT_EQ(other.Reply({}), kStatusReplyMessageMismatch);
        EXPECT_EQ(call.Reply(ToBytes("right")), kStatusSuccess);
    }));
    EXPECT_EQ(Ask(Connect(), {}), ToBytes("right"));
}

TEST_F(LpcPortTest, ServersTooLongReplyIsRefusedAndTheRequestStaysOpen) {
    Serve(OnRequests([](ReceivedCall& call) {
        Bytes reply = call.message;
        Put(reply.data(), 2, static_cast<std::uint16_t>(LpcLayout::kMaxMessage + 1));
        EXPECT_EQ(NtReplyPort(call.port, reply.data()), kStatusPortMessageTooLong);
        Put(reply.data(), 2, static_cast<std::uint16_t>(LpcLayout::kHeaderSize));
        Put<std::uint16_t>(reply.data(), 0, 1);
        EXPECT_EQ(NtReplyPort(call.port, reply.data()), kStatusInvalidParameter);
        EXPECT_EQ(call.Reply({}), kStatusSuccess);
    }));
    Ask(Connect(), {});
}

TEST_F(LpcPortTest, WhatIsNoPortIsAnInvalidHandle) {
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
