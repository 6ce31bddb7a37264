// A raw peer over a socket.
#include "tests/portlayer/RawPeer.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>

#include "portlayer/linux/Peer.h"

namespace Kyr::Test {

using namespace PortLayer::Detail;

namespace {

int Socket(const CSystemHandle& end) {
    return static_cast<int>(end.Get());
}

std::string SocketPath() {
    return std::string(std::getenv("KELCOMM_RUNTIME_DIR")) + "/contractport.port";
}

}  // namespace

CRawPeer CRawPeer::OfClient() {
    CFileDescriptor socket;
    EXPECT_EQ(ConnectSocket(SocketPath(), CDeadline::Never(), socket), NtApi::kStatusSuccess);
    return CRawPeer(std::move(socket));
}

CRawPeer CRawPeer::OfServer() {
    CFileDescriptor listener;
    EXPECT_TRUE(ListenSocket(SocketPath(), listener));
    EXPECT_EQ(::fcntl(listener.Get(), F_SETFL, 0), 0);
    return CRawPeer(std::move(listener));
}

void CRawPeer::Accept() {
    end_.Reset(::accept4(Socket(end_), nullptr, nullptr, SOCK_CLOEXEC));
}

void CRawPeer::SendWithMemory(OutgoingPacket packet, const SharedMemory& memory) {
    if (!memory.handle.IsOpen()) {
        Send(packet);
        return;
    }
    iovec parts[2] = {{&packet.head, sizeof packet.head},
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
    const int descriptor = Socket(memory.handle);
    std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
    EXPECT_GT(::sendmsg(Socket(end_), &header, MSG_NOSIGNAL), 0);
}

bool CRawPeer::SendRaw(const Bytes& bytes) {
    return ::send(Socket(end_), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

bool CRawPeer::TryAwait(PacketHead& head) {
    const auto buffer = std::make_unique<PacketBuffer>();
    const ssize_t got = ::recv(Socket(end_), buffer->bytes.data(), buffer->bytes.size(), 0);
    std::memcpy(&head, buffer->bytes.data(), sizeof head);
    return got >= static_cast<ssize_t>(sizeof head);
}

bool CRawPeer::IsDropped() {
    char byte = 0;
    const ssize_t got = ::recv(Socket(end_), &byte, 1, 0);
    return got == 0 || (got < 0 && errno == ECONNRESET);
}

}  // namespace Kyr::Test
