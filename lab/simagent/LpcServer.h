// Serves the legacy port, one request at a time, on a thread of its own.
//
// Ownership: the agent must outlive this; the destructor closes the port.
// Errors, threads: Port.h.
#pragma once

#include "lab/simagent/LpcMessages.h"
#include "lab/simagent/PortServer.h"

namespace Kyr::Lab::SimAgent {

class CLpcServer final : public CPortServer {
  public:
    CLpcServer(CAgent& agent, LineSink sink);
    ~CLpcServer() override;

  private:
    CLpcServer(CAgent& agent, LineSink sink, const CLpcLayout& layout);

    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override;
    NtApi::NtStatus Receive(CReceived& received) override;
    NtApi::NtStatus Accept(CReceived& received, ClientId client, bool known,
                           NtApi::Handle* port) override;
    void CloseClient(NtApi::Handle port) override;
    CPortRequest ReadRequest(CReceived& received) override;
    void Reply(CReceived& received, const CAnswer& answer) override;

    const CLpcLayout layout_;
    /// The request that is being handled, for its reply. By the serving thread only.
    CLpcRequest current_;
};

}  // namespace Kyr::Lab::SimAgent
