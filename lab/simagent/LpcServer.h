// Serves the legacy port, one request at a time, on a thread of its own.
//
// Ownership: the agent must outlive this; the destructor closes the port.
// Errors, threads: PortServer.h.
#pragma once

#include <atomic>
#include <map>

#include <boost/thread/thread.hpp>

#include "lab/simagent/Agent.h"
#include "lab/simagent/LpcMessages.h"
#include "lab/simagent/PortServer.h"

namespace Kyr::Lab::SimAgent {

class CLpcServer : public IPortServer {
  public:
    CLpcServer(CAgent& agent, LineSink sink);
    ~CLpcServer() override;

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return port_ != nullptr; }

  private:
    /// Ids of our own stand for the clients in the port's messages; they are never used again.
    using ClientId = std::uintptr_t;

    void Serve();
    void Handle(ClientId client, Bytes& message);
    void Connect(Bytes& message);
    void Disconnect(ClientId client, const char* by);
    void HandleRequest(ClientId client, Bytes& message, bool wantsReply);
    CPortRequest ReadRequest(ClientId client, Bytes& message, const CLpcRequest& decoded) const;
    void Reply(ClientId client, Bytes& message, const CLpcRequest& decoded,
               const CAnswer& answer) const;
    void ReportFailure(const char* operation, NtApi::NtStatus status) const;

    CAgent& agent_;  // borrowed
    const LineSink sink_;
    const CLpcLayout layout_;

    NtApi::Handle port_ = nullptr;
    boost::thread thread_;
    std::atomic<bool> closing_{false};

    // By the serving thread only, while there is one.
    std::map<ClientId, NtApi::Handle> clients_;
    ClientId lastClient_ = 0;
};

}  // namespace Kyr::Lab::SimAgent
