#include "tests/portlayer/windows/RawPipe.h"

#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::Test {

using namespace PortLayer::Detail;

namespace {

std::wstring ContractName() {
    static char16_t text[] = u"ContractPort";
    const NtApi::UnicodeString name = {sizeof text - 2, sizeof text, text};
    std::wstring port;
    EXPECT_EQ(PortNameOf(name, port), NtApi::kStatusSuccess);
    return port;
}

std::wstring ContractPipe() {
    return PipeName(ContractName());
}

}  // namespace

CSystemHandle ClaimContractPort() {
    return Own(::CreateEventW(nullptr, TRUE, FALSE, PipeClaimName(ContractName()).c_str()));
}

CSystemHandle MutexInPlaceOfClaim() {
    return Own(::CreateMutexW(nullptr, FALSE, PipeClaimName(ContractName()).c_str()));
}

CRawPipe CRawPipe::OfClient() {
    const std::wstring path = ContractPipe();
    EXPECT_NE(::WaitNamedPipeW(path.c_str(), NMPWAIT_WAIT_FOREVER), 0);
    CSystemHandle pipe(reinterpret_cast<std::intptr_t>(::CreateFileW(
        path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
    DWORD mode = PIPE_READMODE_MESSAGE;
    EXPECT_NE(::SetNamedPipeHandleState(Native(pipe), &mode, nullptr, nullptr), 0);
    return CRawPipe(std::move(pipe));
}

CRawPipe CRawPipe::OfServer(bool hasMessages) {
    const DWORD mode = hasMessages ? PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE : PIPE_TYPE_BYTE;
    CSystemHandle pipe(reinterpret_cast<std::intptr_t>(::CreateNamedPipeW(
        ContractPipe().c_str(), PIPE_ACCESS_DUPLEX, mode, 1, 1 << 20, 1 << 20, 0, nullptr)));
    EXPECT_TRUE(pipe.IsOpen());
    return CRawPipe(std::move(pipe));
}

void CRawPipe::Accept() {
    EXPECT_TRUE(::ConnectNamedPipe(Native(pipe_), nullptr) != 0 ||
                ::GetLastError() == ERROR_PIPE_CONNECTED);
}

void CRawPipe::Handshake(PortDialect dialect) {
    OutgoingPacket packet(PacketKind::kConnect);
    packet.head.flags = static_cast<std::uint32_t>(dialect);
    const Bytes message = Message(HeaderSize(dialect), {}, HeaderSize(dialect));
    packet.SetMessage(message.data(), message.size());
    Send(packet);
    EXPECT_EQ(Await().kind, PacketKind::kAccepted);
}

void CRawPipe::Send(const OutgoingPacket& packet, const Bytes& behind) {
    const auto* const head = reinterpret_cast<const std::uint8_t*>(&packet.head);
    const auto* const message = static_cast<const std::uint8_t*>(packet.message);
    Bytes bytes(head, head + sizeof packet.head);
    bytes.insert(bytes.end(), message, message + packet.head.messageLength);
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    EXPECT_TRUE(SendRaw(bytes));
}

bool CRawPipe::SendRaw(const Bytes& bytes) {
    DWORD sent = 0;
    return ::WriteFile(Native(pipe_), bytes.data(), static_cast<DWORD>(bytes.size()), &sent,
                       nullptr) != 0 &&
           sent == bytes.size();
}

PacketHead CRawPipe::Await() {
    const auto buffer = std::make_unique<PacketBuffer>();
    DWORD got = 0;
    EXPECT_NE(::ReadFile(Native(pipe_), buffer->bytes.data(),
                         static_cast<DWORD>(buffer->bytes.size()), &got, nullptr),
              0);
    PacketHead head = {};
    EXPECT_GE(got, sizeof head);
    std::memcpy(&head, buffer->bytes.data(), sizeof head);
    return head;
}

bool CRawPipe::IsDropped() {
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ::ReadFile(Native(pipe_), &byte, 1, &got, nullptr);
    const DWORD error = ::GetLastError();
    return read == 0 && (error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED);
}

}  // namespace Kyr::Test
