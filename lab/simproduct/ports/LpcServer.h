// Serves the legacy port, one request at a time, on a thread of its own.
//
// Ownership: the destructor closes the port.
// Errors, threads: Port.h.
#pragma once

#include "lab/simproduct/ports/LpcMessages.h"
#include "lab/simproduct/ports/PortServer.h"

namespace Kyr::Lab::SimProduct {

class CLpcServer final : public CPortServer {
  public:
    CLpcServer(RequestHandler handler, LineSink sink);
    ~CLpcServer() override;

  private:
    CLpcServer(RequestHandler handler, LineSink sink, const LpcLayout& layout);

    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override;
    NtApi::NtStatus Receive(ReceivedRequest& received) override;
    NtApi::NtStatus Accept(ReceivedRequest& received, ClientId client, bool known,
                           NtApi::Handle* port) override;
    void CloseClient(NtApi::Handle port) override;
    PortRequest ReadRequest(ReceivedRequest& received) override;
    void Reply(ReceivedRequest& received, const PortAnswer& answer) override;

    const LpcLayout layout_;
    /// The request that is being handled, for its reply. By the serving thread only.
    LpcRequest current_;
};

}  // namespace Kyr::Lab::SimProduct
