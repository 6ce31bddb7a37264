// Advanced ports: requests and replies, one-way messages, limits, flags, time-outs, releases.
#include <atomic>
#include <future>

#include "tests/portlayer/AlpcPortFixture.h"
#include "tests/portlayer/ChildProcess.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class AlpcExchangeTest : public AlpcPortFixture {};

TEST_F(AlpcExchangeTest, RequestIsAnsweredWithTheServersData) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(call.Data(), ToBytes("question"));
        EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
    }));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, ToBytes("question")), ToBytes("answer"));
    EXPECT_EQ(CloseHandle(port), 1);
}

TEST_F(AlpcExchangeTest, LongestMessageCrossesBothWays) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    const Bytes data = Pattern(0xFFEF - 24);
    EXPECT_EQ(Ask(port, data), data);
}

TEST_F(AlpcExchangeTest, MessageBeyondThePortsLimitIsTooLong) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage(Pattern(0xFFEF - 23)), reply), kStatusPortMessageTooLong);
    EXPECT_EQ(SendOneWay(port, AlpcMessage(Pattern(0xFFEF - 23))), kStatusPortMessageTooLong);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(AlpcExchangeTest, LengthsThatDoNotAddUpAreInvalid) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    for (const std::uint16_t total : {23, 27, 29, 0}) {
        Bytes request = AlpcMessage(ToBytes("abcd"));
        Put(request.data(), 2, total);
        Bytes reply;
        EXPECT_EQ(Exchange(port, request, reply), kStatusInvalidParameter) << total;
    }
}

TEST_F(AlpcExchangeTest, SynchronousRequestNeedsAReceiveBufferAndCannotReleaseAsWell) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = AlpcMessage({});
    std::size_t length = request.size();
    EXPECT_EQ(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), nullptr, nullptr,
                                        nullptr, nullptr, nullptr),
              kStatusLpcReceiveBufferExpected);
    EXPECT_EQ(
        NtAlpcSendWaitReceivePort(port, kAlpcSynchronous | kAlpcReleaseMessage, request.data(),
                                  nullptr, request.data(), &length, nullptr, nullptr),
        kStatusInvalidParameter2);
}

TEST_F(AlpcExchangeTest, KindAndIdsAreTheSystems) {
    std::uint32_t messageId = 0;
    Serve(OnRequests([&](ReceivedCall& call) {
        // The sender did not release it, so the continuation flag stands beside the kind.
        EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 0x2001);
        EXPECT_EQ(Get<std::uint32_t>(call.message.data(), 8), CurrentProcessId());
        EXPECT_NE(Get<std::uint32_t>(call.message.data(), 12), 0u);
        messageId = Get<std::uint32_t>(call.message.data(), 16);
        EXPECT_NE(messageId, 0u);
        EXPECT_EQ(call.attributes.Context().MessageId, messageId);
        call.Reply({});
    }));
    const Handle port = Connect();
    Bytes reply;
    ASSERT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 2);
    EXPECT_EQ(Get<std::uint32_t>(reply.data(), 16), messageId);
    EXPECT_EQ(reply.size(), 24u);
}

TEST_F(AlpcExchangeTest, OneWayMessageArrivesAsADatagram) {
    std::promise<Bytes> received;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcDatagram) {
            EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 3);
            received.set_value(call.Data());
        }
    });
    const Handle port = Connect();
    EXPECT_EQ(SendOneWay(port, AlpcMessage(ToBytes("note"))), kStatusSuccess);
    EXPECT_EQ(received.get_future().get(), ToBytes("note"));
}

TEST_F(AlpcExchangeTest, ReplyToAnAnsweredRequestIsInvalid) {
    std::promise<void> checked;
    Serve(OnRequests([&](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("first")), kStatusSuccess);
        EXPECT_EQ(call.Reply(ToBytes("second")), kStatusInvalidMessage);
        checked.set_value();
    }));
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, {}), ToBytes("first"));
    checked.get_future().get();
}

TEST_F(AlpcExchangeTest, UnreleasedReplyIsReleasedOnce) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("kept"), 0, nullptr), kStatusSuccess);
    }));
    const Handle port = Connect();
    Bytes reply;
    ASSERT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 0x2002);
    EXPECT_EQ(Release(port, reply, nullptr), kStatusSuccess);
    EXPECT_EQ(Release(port, reply, nullptr), kStatusInvalidMessage);
}

TEST_F(AlpcExchangeTest, ReplyBeyondTheBufferIsTooLarge) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = AlpcMessage(Pattern(100));
    Bytes reply(60);
    std::size_t length = reply.size();
    EXPECT_EQ(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), nullptr,
                                        reply.data(), &length, nullptr, nullptr),
              kStatusBufferTooSmall);
    EXPECT_EQ(length, 124u);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(AlpcExchangeTest, ServersSmallBufferKeepsTheMessage) {
    const Handle server = CreatePort(100);
    auto connecting = std::async(std::launch::async, [this] {
        Handle port = nullptr;
        Bytes message = Message(24, ToBytes("hello"), 29);
        EXPECT_EQ(TryConnect(port, &message), kStatusSuccess);
        return port;
    });
    Bytes message(100);
    std::size_t length = 99;
    EXPECT_EQ(NtAlpcSendWaitReceivePort(server, 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, nullptr),
              kStatusBufferTooSmall);
    EXPECT_EQ(length, 100u);
    EXPECT_EQ(NtAlpcSendWaitReceivePort(server, 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, nullptr),
              kStatusSuccess);
    EXPECT_EQ(length, 29u);
    EXPECT_EQ(AlpcData(message.data()), ToBytes("hello"));
    Handle accepted = nullptr;
    EXPECT_EQ(NtAlpcAcceptConnectPort(&accepted, server, 0, nullptr, nullptr, nullptr,
                                      message.data(), nullptr, 1),
              kStatusSuccess);
    for (const Handle handle : {connecting.get(), accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_F(AlpcExchangeTest, RequestTimesOutAndTheLateReplyIsDropped) {
    std::promise<void> timedOut;
    auto waitForTimeOut = timedOut.get_future().share();
    Serve(OnRequests([&](ReceivedCall& call) {
        if (call.Data() == ToBytes("slow")) {
            waitForTimeOut.wait();
        }
        EXPECT_EQ(call.Reply(call.Data(), 0, nullptr), kStatusSuccess);
    }));
    const Handle port = Connect();
    std::int64_t timeout = Within(std::chrono::milliseconds(3));
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage(ToBytes("slow")), reply, nullptr, nullptr, &timeout),
              kStatusTimeout);
    timedOut.set_value();
    ASSERT_EQ(Exchange(port, AlpcMessage(ToBytes("next")), reply), kStatusSuccess);
    EXPECT_EQ(AlpcData(reply.data()), ToBytes("next"));
    EXPECT_EQ(Release(port, reply, nullptr), kStatusSuccess);
}

TEST_F(AlpcExchangeTest, AnswerInTimeBeatsTheTimeOut) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    std::int64_t timeout = Within(std::chrono::seconds(60));
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage(ToBytes("x")), reply, nullptr, nullptr, &timeout),
              kStatusSuccess);
    EXPECT_EQ(AlpcData(reply.data()), ToBytes("x"));
}

TEST_F(AlpcExchangeTest, ThreadsOfOneClientGetTheirOwnReplies) {
    Serve(OnRequests(Echo), 3);
    const Handle port = Connect();
    AskOnThreads(port, 6, 150);
}

TEST_F(AlpcExchangeTest, TimedOutThreadsDoNotDisturbTheOthers) {
    Serve([](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcRequest && call.Data() != ToBytes("forget me")) {
            call.Reply(call.Data());
        }
    });
    const Handle port = Connect();
    std::thread impatient([&] {
        for (int i = 0; i < 20; ++i) {
            std::int64_t timeout = Within(std::chrono::milliseconds(1));
            Bytes reply;
            EXPECT_EQ(Exchange(port, AlpcMessage(ToBytes("forget me")), reply, nullptr, nullptr,
                               &timeout),
                      kStatusTimeout);
        }
    });
    for (int i = 0; i < 300; ++i) {
        const Bytes data = ToBytes(std::to_string(i));
        EXPECT_EQ(Ask(port, data), data);
    }
    impatient.join();
}

}  // namespace

}  // namespace Kyr::Test
