// A raw peer over a pipe.
#include "tests/portlayer/RawPeer.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "tests/portlayer/windows/ContractPipe.h"

namespace Kyr::Test {

using namespace PortLayer::Detail;

CRawPeer CRawPeer::OfClient() {
    const std::wstring path = ContractPipe();
    EXPECT_NE(::WaitNamedPipeW(path.c_str(), NMPWAIT_WAIT_FOREVER), 0);
    CSystemHandle pipe(reinterpret_cast<std::intptr_t>(::CreateFileW(
        path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
    DWORD mode = PIPE_READMODE_MESSAGE;
    EXPECT_NE(::SetNamedPipeHandleState(Native(pipe), &mode, nullptr, nullptr), 0);
    return CRawPeer(std::move(pipe));
}

CRawPeer CRawPeer::OfServer() {
    return CRawPeer(ServeContractPipe(PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE));
}

void CRawPeer::Accept() {
    EXPECT_TRUE(::ConnectNamedPipe(Native(end_), nullptr) != 0 ||
                ::GetLastError() == ERROR_PIPE_CONNECTED);
}

void CRawPeer::SendWithMemory(OutgoingPacket packet, const SharedMemory& memory) {
    packet.head.viewMemory = memory.name;
    Send(packet);
}

bool CRawPeer::SendRaw(const Bytes& bytes) {
    DWORD sent = 0;
    return ::WriteFile(Native(end_), bytes.data(), static_cast<DWORD>(bytes.size()), &sent,
                       nullptr) != 0 &&
           sent == bytes.size();
}

bool CRawPeer::TryAwait(PacketHead& head) {
    const auto buffer = std::make_unique<PacketBuffer>();
    DWORD got = 0;
    const BOOL read = ::ReadFile(Native(end_), buffer->bytes.data(),
                                 static_cast<DWORD>(buffer->bytes.size()), &got, nullptr);
    std::memcpy(&head, buffer->bytes.data(), sizeof head);
    return read != 0 && got >= sizeof head;
}

bool CRawPeer::IsDropped() {
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ::ReadFile(Native(end_), &byte, 1, &got, nullptr);
    const DWORD error = ::GetLastError();
    return read == 0 && (error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED);
}

}  // namespace Kyr::Test
