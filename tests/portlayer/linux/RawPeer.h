// Ends of connections that speak to the layer's sockets themselves, for peers that break the rules.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/socket.h>
#include <thread>

#include "portlayer/linux/Peer.h"
#include "portlayer/linux/SocketChannel.h"
#include "portlayer/packets/MessageHeader.h"
#include "tests/portlayer/AlpcPortFixture.h"

namespace Kyr::Test {

using namespace NtApi;
using namespace PortLayer::Detail;

inline std::string SocketPath(const std::string& directory) {
    return directory + "/contractport.port";
}

/// A client that sends what it likes.
class CRawClient {
  public:
    explicit CRawClient(const std::string& directory) : channel_(Connected(directory)) {}
    /// Connects properly; the server must accept.
    void Handshake(PortDialect dialect) {
        OutgoingPacket packet(PacketKind::kConnect);
        packet.head.flags = static_cast<std::uint32_t>(dialect);
        message_ = Message(HeaderSize(dialect), {}, HeaderSize(dialect));
        packet.SetMessage(message_.data(), message_.size());
        Send(packet);
        PacketBuffer buffer;
        IncomingPacket answer;
        ASSERT_EQ(channel_.Receive(CDeadline::Never(), buffer, answer), ReceiveResult::kPacket);
        ASSERT_EQ(answer.head.kind, PacketKind::kAccepted);
    }
    void Send(OutgoingPacket& packet) {
        EXPECT_EQ(channel_.Send(packet, pool_, freed_, CDeadline::Never()), SendResult::kSent);
    }
    void SendRaw(const Bytes& bytes) {
        EXPECT_EQ(::send(channel_.Socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    /// A head with the descriptor attached.
    void SendWithDescriptor(const OutgoingPacket& packet, int descriptor) {
        iovec parts[2] = {{const_cast<PacketHead*>(&packet.head), sizeof packet.head},
                          {const_cast<void*>(packet.message), packet.head.messageLength}};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        msghdr header = {};
        header.msg_iov = parts;
        header.msg_iovlen = 2;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr* const part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
        EXPECT_GT(::sendmsg(channel_.Socket(), &header, MSG_NOSIGNAL), 0);
    }
    /// True when the server ends the connection.
    bool IsDropped() {
        char byte = 0;
        const ssize_t got = ::recv(channel_.Socket(), &byte, 1, 0);
        return got == 0 || (got < 0 && errno == ECONNRESET);
    }

    CSocketChannel& Channel() { return channel_; }

  private:
    static CFileDescriptor Connected(const std::string& directory) {
        CFileDescriptor socket;
        EXPECT_EQ(ConnectSocket(SocketPath(directory), CDeadline::Never(), socket), kStatusSuccess);
        return socket;
    }

    CSocketChannel channel_;
    CSendPool pool_;
    CReceivePool freed_;
    Bytes message_;
};

/// Advanced clients of a server by hand.
class RawServerFixture : public AlpcPortFixture {
  protected:
    /// A server that accepts one connection by hand and then runs `body` with it.
    std::thread RawServer(std::function<void(CSocketChannel&)> body) {
        EXPECT_TRUE(ListenSocket(SocketPath(RunDirectory()), listener_));
        EXPECT_EQ(::fcntl(listener_.Get(), F_SETFL, 0), 0);
        return std::thread([this, body] {
            CSocketChannel client(CFileDescriptor(::accept(listener_.Get(), nullptr, nullptr)));
            Await(client);
            OutgoingPacket accepted(PacketKind::kAccepted);
            accepted.head.flags = kAlpcMaxMessage;
            Send(client, accepted);
            body(client);
        });
    }
    PacketHead Await(CSocketChannel& client) {
        const auto buffer = std::make_unique<PacketBuffer>();
        IncomingPacket packet;
        EXPECT_EQ(client.Receive(CDeadline::Never(), *buffer, packet), ReceiveResult::kPacket);
        return packet.head;
    }
    void Send(CSocketChannel& client, OutgoingPacket& packet) {
        EXPECT_EQ(client.Send(packet, pool_, freed_, CDeadline::Never()), SendResult::kSent);
    }
    void TearDown() override {
        listener_.Reset();
        ForgetName();
        AlpcPortFixture::TearDown();
    }

    CFileDescriptor listener_;
    CSendPool pool_;
    CReceivePool freed_;
};

}  // namespace Kyr::Test
