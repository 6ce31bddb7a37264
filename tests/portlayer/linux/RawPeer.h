// Ends of connections that speak to the layer's sockets themselves, for peers that break the rules.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/socket.h>
#include <thread>

#include "portlayer/linux/Peer.h"
#include "portlayer/linux/SocketPackets.h"
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
    explicit CRawClient(const std::string& directory) {
        EXPECT_EQ(ConnectSocket(SocketPath(directory), CDeadline::Never(), socket_),
                  kStatusSuccess);
    }
    /// Connects properly; the server must accept.
    void Handshake(PortDialect dialect) {
        OutgoingPacket packet(PacketKind::kConnect);
        packet.head.flags = static_cast<std::uint32_t>(dialect);
        message_ = Message(HeaderSize(dialect), {}, HeaderSize(dialect));
        packet.SetMessage(message_.data(), message_.size());
        Send(packet);
        PacketBuffer buffer;
        IncomingPacket answer;
        ASSERT_EQ(ReceivePacket(socket_.Get(), CDeadline::Never(), buffer, answer),
                  ReceiveResult::kPacket);
        ASSERT_EQ(answer.head.kind, PacketKind::kAccepted);
    }
    void Send(OutgoingPacket& packet) {
        EXPECT_EQ(SendPacket(socket_.Get(), packet, pool_, freed_, CDeadline::Never()),
                  SendResult::kSent);
    }
    void SendRaw(const Bytes& bytes) {
        EXPECT_EQ(::send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
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
        EXPECT_GT(::sendmsg(socket_.Get(), &header, MSG_NOSIGNAL), 0);
    }
    /// True when the server ends the connection.
    bool IsDropped() {
        char byte = 0;
        const ssize_t got = ::recv(socket_.Get(), &byte, 1, 0);
        return got == 0 || (got < 0 && errno == ECONNRESET);
    }

    int Socket() const { return socket_.Get(); }

  private:
    CFileDescriptor socket_;
    CSendPool pool_;
    CReceivePool freed_;
    Bytes message_;
};

/// Advanced clients of a server by hand.
class RawServerFixture : public AlpcPortFixture {
  protected:
    /// A server that accepts one connection by hand and then runs `body` with its socket.
    std::thread RawServer(std::function<void(int)> body) {
        EXPECT_TRUE(ListenSocket(SocketPath(RunDirectory()), listener_));
        EXPECT_EQ(::fcntl(listener_.Get(), F_SETFL, 0), 0);
        return std::thread([this, body] {
            const CFileDescriptor socket(::accept(listener_.Get(), nullptr, nullptr));
            Await(socket.Get());
            OutgoingPacket accepted(PacketKind::kAccepted);
            accepted.head.flags = kAlpcMaxMessage;
            Send(socket.Get(), accepted);
            body(socket.Get());
        });
    }
    PacketHead Await(int socket) {
        const auto buffer = std::make_unique<PacketBuffer>();
        IncomingPacket packet;
        EXPECT_EQ(ReceivePacket(socket, CDeadline::Never(), *buffer, packet),
                  ReceiveResult::kPacket);
        return packet.head;
    }
    void Send(int socket, OutgoingPacket& packet) {
        EXPECT_EQ(SendPacket(socket, packet, pool_, freed_, CDeadline::Never()), SendResult::kSent);
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
