// The client's handle of an advanced port.
//
// What one call of NtAlpcSendWaitReceivePort does goes by its flags. "Synchronous" (0x20000) waits
// for the reply, "release" (0x10000) gives the message up:
//   synchronous  release  receive buffer
//   yes          no       yes             a request; returns with its reply
//   no           yes      no              a datagram; of a type with 0x2000: gives a received
//                                         message back, and sends nothing
//   yes          no       no              C0000705
//   yes          yes      -               C00000F0
// All else is C000000D: requests whose reply another call receives do not exist here.
#pragma once

#include "portlayer/client/ClientConnection.h"
#include "portlayer/core/Handles.h"
#include "portlayer/packets/AlpcAttributes.h"
#include "portlayer/packets/AlpcMemory.h"

namespace Kyr::PortLayer::Detail {

class CAlpcClientPort final : public CObject {
  public:
    CAlpcClientPort(std::shared_ptr<CClientConnection> connection, std::size_t limit);
    void OnClose() override;

    NtApi::NtStatus SendWaitReceive(const AlpcCall& call);
    void Disconnect();
    CAlpcMemory& Memory() { return memory_; }
    bool IsLost() const { return connection_->IsLost(); }

  private:
    NtApi::NtStatus Request(const AlpcCall& call, OutgoingPacket& packet);
    NtApi::NtStatus TakeReply(const AlpcCall& call, PendingExchange& exchange);

    const CLiveCount live_{LiveCounter::kPorts};
    const std::shared_ptr<CClientConnection> connection_;
    const std::size_t limit_;
    CAlpcMemory memory_;
};

}  // namespace Kyr::PortLayer::Detail
