// Peers that hold on, hold back or flood: nobody else may starve or wait for ever. Linux only: they
// speak to the sockets themselves.
#include <atomic>
#include <future>

#include "tests/portlayer/linux/RawPeer.h"

namespace Kyr::Test {

namespace {

class StarvingServerTest : public CRawServerTest {
  protected:
    std::future<NtStatus> AskWithin(Handle port, std::chrono::milliseconds patience) {
        return std::async(std::launch::async, [this, port, patience] {
            std::int64_t timeout = Within(patience);
            Bytes reply;
            return Exchange(port, AlpcMessage(ToBytes("?")), reply, nullptr, nullptr, &timeout);
        });
    }
    /// Sends one-way messages until no more fit.
    void FillSocket(Handle port) {
        Bytes message = AlpcMessage(Bytes(30000));
        NtStatus status = kStatusSuccess;
        while (status == kStatusSuccess) {
            std::int64_t timeout = 0;
            status =
                Ports().NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message.data(),
                                                  nullptr, nullptr, nullptr, nullptr, &timeout);
        }
        EXPECT_EQ(status, kStatusTimeout);
    }
    /// Replies to every request until the client is gone.
    void AnswerAll(int socket) {
        const auto buffer = std::make_unique<CPacketBuffer>();
        const Bytes message = Message(24, {}, 24);
        CIncomingPacket packet;
        while (ReceivePacket(socket, CDeadline::Never(), *buffer, packet) == EReceive::Packet) {
            if (packet.head.kind == EPacket::Request) {
                COutgoingPacket reply(EPacket::Reply);
                reply.head.exchange = packet.head.exchange;
                reply.SetMessage(message.data(), message.size());
                SendPacket(socket, reply, pool_, freed_, CDeadline::Never());
            }
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Layer, StarvingServerTest, Backends(), BackendName);

TEST_P(StarvingServerTest, ReadingIsNotHandedToAThreadThatStillSends) {
    std::promise<void> read;
    std::thread server = RawServer([&](int socket) {
        read.get_future().wait();
        AnswerAll(socket);
    });
    const Handle port = Connect();
    auto reader = AskWithin(port, std::chrono::milliseconds(100));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    auto patient = AskWithin(port, std::chrono::minutes(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    FillSocket(port);
    auto sender = AskWithin(port, std::chrono::milliseconds(150));
    EXPECT_EQ(reader.get(), kStatusTimeout);
    EXPECT_EQ(sender.get(), kStatusTimeout);
    read.set_value();
    ASSERT_EQ(patient.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(patient.get(), kStatusSuccess);
    Ports().CloseHandle(port);
    server.join();
}

TEST_P(StarvingServerTest, ManyTimeOutsAtOnceLeaveSomebodyReading) {
    std::thread server = RawServer([&](int socket) {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        AnswerAll(socket);
    });
    const Handle port = Connect();
    std::vector<std::future<NtStatus>> hasty;
    hasty.push_back(AskWithin(port, std::chrono::milliseconds(20)));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    auto patient = AskWithin(port, std::chrono::minutes(2));
    for (int i = 0; i < 16; ++i) {
        hasty.push_back(AskWithin(port, std::chrono::milliseconds(14)));
    }
    ASSERT_EQ(patient.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(patient.get(), kStatusSuccess);
    hasty.clear();
    Ports().CloseHandle(port);
    server.join();
}

TEST_P(StarvingServerTest, FloodOfRepliesDoesNotOutlastTheTimeOut) {
    std::atomic<bool> flooding{true};
    std::thread server = RawServer([&](int socket) {
        const Bytes message = Message(24, {}, 24);
        const std::uint32_t exchange = Await(socket).exchange;
        COutgoingPacket stray(EPacket::Reply);
        stray.head.exchange = exchange + 1000;
        stray.SetMessage(message.data(), message.size());
        while (flooding &&
               SendPacket(socket, stray, pool_, freed_, CDeadline::Never()) == ESend::Sent) {
        }
    });
    const Handle port = Connect();
    auto asked = AskWithin(port, std::chrono::milliseconds(20));
    EXPECT_EQ(asked.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    flooding = false;
    Ports().CloseHandle(port);
    EXPECT_EQ(asked.get(), kStatusTimeout);
    server.join();
}

}  // namespace

}  // namespace Kyr::Test
