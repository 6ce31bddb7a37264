// Serves the advanced port, one request at a time, on a thread of its own.
//
// Ownership: the agent must outlive this; the destructor closes the port.
// Errors, threads: PortServer.h.
#pragma once

#include <atomic>
#include <map>

#include <boost/thread/thread.hpp>

#include "lab/simagent/Agent.h"
#include "lab/simagent/AlpcMessages.h"
#include "lab/simagent/PortServer.h"
#include "ntapi/Alpc.h"

namespace Kyr::Lab::SimAgent {

class CAlpcServer : public IPortServer {
  public:
    CAlpcServer(CAgent& agent, LineSink sink);
    ~CAlpcServer() override;

    void Open() override;
    void Close() override;
    bool IsOpen() const override { return port_ != nullptr; }

  private:
    /// Ids of our own stand for the clients in the port's messages; they are never used again.
    using ClientId = std::uintptr_t;

    struct CReceived {
        Bytes message;
        ClientId client = 0;
        std::optional<NtApi::AlpcDataViewAttr> view;
    };

    void Serve();
    /// False when the port is to be closed, or cannot be served any more.
    bool Receive(CReceived& received);
    void Handle(CReceived& received);
    void Connect(CReceived& received);
    void Disconnect(ClientId client, const char* by);
    void HandleRequest(CReceived& received, bool wantsReply);
    /// Gives back what the message keeps of the system's memory.
    void Release(CReceived& received);
    CPortRequest ReadRequest(const CReceived& received) const;
    void Reply(const CReceived& received, const CAnswer& answer) const;
    void SendInView(NtApi::Handle port, const CReceived& received, const CAnswer& answer) const;
    void ReportFailure(const char* operation, NtApi::NtStatus status) const;

    CAgent& agent_;  // borrowed
    const LineSink sink_;

    NtApi::Handle port_ = nullptr;
    boost::thread thread_;
    std::atomic<bool> closing_{false};

    // By the serving thread only, while there is one.
    std::map<ClientId, NtApi::Handle> clients_;
    ClientId lastClient_ = 0;
};

}  // namespace Kyr::Lab::SimAgent
