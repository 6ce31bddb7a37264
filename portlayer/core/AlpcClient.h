// The client's handle of an advanced port.
#pragma once

#include "portlayer/core/AlpcMemory.h"
#include "portlayer/core/ClientConnection.h"
#include "portlayer/core/Handles.h"

namespace Kyr::PortLayer::Detail {

/// One call of NtAlpcSendWaitReceivePort.
struct CAlpcCall {
    std::uint32_t flags;
    std::uint8_t* sendMessage;
    NtApi::AlpcMessageAttributes* sendAttributes;
    std::uint8_t* receiveMessage;
    std::size_t* bufferLength;
    NtApi::AlpcMessageAttributes* receiveAttributes;
    const std::int64_t* timeout;
};

class CAlpcClientPort final : public CObject {
  public:
    CAlpcClientPort(std::shared_ptr<CClientConnection> connection, std::size_t limit);
    void OnClose() override;

    NtApi::NtStatus SendWaitReceive(const CAlpcCall& call);
    void Disconnect();
    CAlpcMemory& Memory() { return memory_; }
    bool IsLost() const { return connection_->IsLost(); }

  private:
    NtApi::NtStatus Release(const CAlpcCall& call);
    NtApi::NtStatus Request(const CAlpcCall& call, COutgoingPacket& packet);
    NtApi::NtStatus TakeReply(const CAlpcCall& call, CExchange& exchange);

    const CLiveCount live_{ECounter::Ports};
    const std::shared_ptr<CClientConnection> connection_;
    const std::size_t limit_;
    CAlpcMemory memory_;
};

}  // namespace Kyr::PortLayer::Detail
