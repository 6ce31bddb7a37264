// Serves the advanced port, one request at a time, on a thread of its own.
//
// Ownership: the destructor closes the port.
// Errors, threads: Port.h.
#pragma once

#include "lab/simproduct/ports/AlpcMessages.h"
#include "lab/simproduct/ports/PortServer.h"

namespace Kyr::Lab::SimProduct {

class CAlpcServer final : public CPortServer {
  public:
    CAlpcServer(RequestHandler handler, LineSink sink);
    ~CAlpcServer() override;

  private:
    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override;
    NtApi::NtStatus Receive(ReceivedRequest& received) override;
    NtApi::NtStatus Accept(ReceivedRequest& received, ClientId client, bool known,
                           NtApi::Handle* port) override;
    void CloseClient(NtApi::Handle port) override;
    PortRequest ReadRequest(ReceivedRequest& received) override;
    void Reply(ReceivedRequest& received, const PortAnswer& answer) override;
    void Release(ReceivedRequest& received) override;

    void SendInView(NtApi::Handle port, const ReceivedRequest& received,
                    const PortAnswer& answer) const;
};

}  // namespace Kyr::Lab::SimProduct
