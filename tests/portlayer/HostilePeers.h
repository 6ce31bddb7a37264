// Peers that break the layer's own protocol. What every back end owes them is in
// HostilePeersTest.cpp, the rest beside the back ends.
#pragma once

#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <vector>

#include "ntapi/PortMessage.h"
#include "tests/portlayer/RawPeer.h"
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

/// A legacy port whose clients break the rules: they are dropped, and the next one is served.
class HostileLpcClientTest : public LpcPortFixture {
  protected:
    void SetUp() override {
        LpcPortFixture::SetUp();
        Serve(OnRequests([](ReceivedCall& call) { call.Reply(call.Data()); }));
    }
    void TearDown() override {
        EXPECT_EQ(Ask(Connect(), ToBytes("x")), ToBytes("x")) << "others are not served";
        LpcPortFixture::TearDown();
    }

    Detail::OutgoingPacket Packet(Detail::PacketKind kind) const {
        Detail::OutgoingPacket packet(kind);
        packet.SetMessage(message_.data(), Get<std::uint16_t>(message_.data(), 2));
        return packet;
    }

    /// A message without data.
    Bytes message_ = LpcMessage({});
};

/// An advanced port whose clients send views that break the rules: the server sees none of them.
class HostileAlpcClientTest : public AlpcPortFixture {
  protected:
    static constexpr std::size_t kSize = 65536;

    void SetUp() override {
        AlpcPortFixture::SetUp();
        Serve([this](ReceivedCall& call) { views_ += call.attributes.HasView() ? 1 : 0; });
    }
    /// A client that has sent a view in the memory.
    static CRawPeer SendView(const Detail::SharedMemory& memory, std::uint64_t slotSize,
                             std::uint64_t viewSize, std::uint32_t slot = 3) {
        CRawPeer client = CRawPeer::Connected(Detail::PortDialect::kAlpc);
        const Bytes message = Message(24, {}, 24);
        Detail::OutgoingPacket packet(Detail::PacketKind::kDatagram);
        packet.SetMessage(message.data(), message.size());
        packet.SetView(slot, viewSize, 0);
        packet.head.viewSlotSize = slotSize;
        client.SendWithMemory(packet, memory);
        return client;
    }
    void ExpectDropped(CRawPeer client) {
        EXPECT_TRUE(client.IsDropped());
        StopServer();
        EXPECT_EQ(views_, 0);
    }
    /// Memory that the server can map.
    const Detail::SharedMemory& MakeMemory() {
        EXPECT_TRUE(Detail::CreateSharedMemory(kSize, memory_, mapping_));
        return memory_;
    }
    int views_ = 0;

  private:
    Detail::SharedMemory memory_;
    Detail::CMapping mapping_;
};

/// Servers that break the rules: the calls of their advanced clients end with a status. Each runs
/// until its client is gone.
class HostileServerTest : public AlpcPortFixture {
  protected:
    using Body = std::function<void(CRawPeer&)>;

    void TearDown() override {
        CloseAll();
        AwaitServers();
        ForgetName();
        AlpcPortFixture::TearDown();
    }
    Detail::OutgoingPacket ReplyTo(std::uint32_t exchange) const {
        Detail::OutgoingPacket packet(Detail::PacketKind::kReply);
        packet.head.exchange = exchange;
        packet.SetMessage(message_.data(), message_.size());
        return packet;
    }
    /// Runs `body` with the contract's port, once a client has come.
    void StartRawServer(const Body& body) {
        auto server = std::make_shared<CRawPeer>(CRawPeer::OfServer());
        servers_.push_back(std::async(std::launch::async, [server, body] {
            server->Accept();
            body(*server);
        }));
    }
    /// One that begins as it should.
    void StartAcceptingServer(const Body& body) {
        StartRawServer([body](CRawPeer& server) {
            EXPECT_EQ(server.Await().kind, Detail::PacketKind::kConnect);
            Detail::OutgoingPacket accepted(Detail::PacketKind::kAccepted);
            accepted.head.flags = NtApi::kAlpcMaxMessage;
            server.Send(accepted);
            body(server);
        });
    }
    /// Awaits a request and replies with the message, after `change` has seen the packet.
    static Body Replier(const Bytes& message,
                        const std::function<void(Detail::OutgoingPacket&)>& change = {}) {
        return [=](CRawPeer& server) {
            Detail::OutgoingPacket packet(Detail::PacketKind::kReply);
            packet.head.exchange = server.Await().exchange;
            packet.SetMessage(message.data(), message.size());
            if (change) {
                change(packet);
            }
            server.Send(packet);
            EXPECT_TRUE(server.IsDropped());
        };
    }
    /// Connects, asks, and expects the connection to be given up.
    void ExpectGivenUp(const Body& body) {
        StartAcceptingServer(body);
        AlpcPortFixture::ExpectGivenUp();
        // Its end does not wait for the port's.
        AwaitServers();
    }
    void ExpectRefused(const Body& body) {
        StartRawServer(body);
        EXPECT_EQ(TryConnect(), NtApi::kStatusPortConnectionRefused);
    }

    const Bytes message_ = Message(24, {}, 24);

  private:
    void AwaitServers() {
        for (std::future<void>& server : servers_) {
            server.get();
        }
        servers_.clear();
    }

    std::vector<std::future<void>> servers_;
};

}  // namespace Kyr::Test
