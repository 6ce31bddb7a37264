// Serves the advanced port, one request at a time, on a thread of its own.
//
// Ownership: the agent must outlive this; the destructor closes the port.
// Errors, threads: Port.h.
#pragma once

#include "lab/simagent/AlpcMessages.h"
#include "lab/simagent/PortServer.h"

namespace Kyr::Lab::SimAgent {

class CAlpcServer final : public CPortServer {
  public:
    CAlpcServer(CAgent& agent, LineSink sink);
    ~CAlpcServer() override;

  private:
    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override;
    NtApi::NtStatus Receive(CReceived& received) override;
    NtApi::NtStatus Accept(CReceived& received, ClientId client, bool known,
                           NtApi::Handle* port) override;
    void CloseClient(NtApi::Handle port) override;
    CPortRequest ReadRequest(CReceived& received) override;
    void Reply(CReceived& received, const CAnswer& answer) override;
    void Release(CReceived& received) override;

    void SendInView(NtApi::Handle port, const CReceived& received, const CAnswer& answer) const;
};

}  // namespace Kyr::Lab::SimAgent
