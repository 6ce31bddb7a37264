// What the servers of both ports share: the port's life, its clients, and the way of a request from
// the port to its handler and back. A server adds the calls of its kind of port.
//
// Ownership: what the handler needs must outlive this. A server's destructor calls Close, because
//   the serving thread calls the server's own functions.
// Threads: Open and Close by one; the port is served by a thread of its own, one request at a time.
//   Everything that is virtual here but CreatePort runs on it; CloseClient also on the thread that
//   closes the port, after the serving one has ended.
// Errors: std::runtime_error from Open when the port cannot be made. What goes wrong with one
//   client becomes an `error` event, and the others are served on.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include <boost/thread/thread.hpp>

#include "lab/common/LineWriter.h"
#include "lab/simproduct/requests/PortExchange.h"
#include "ntapi/Alpc.h"
#include "ntapi/Types.h"

namespace Kyr::Lab::SimProduct {

// The names that clients look for (protocol); the ids of client and server stand in them.
constexpr char16_t kLpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort";
constexpr char16_t kAlpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc";

/// How long a serving thread waits for a message before it looks whether the port is to be closed.
/// Closing the handle would wake it, too, but it may just be about to use that handle, which by
/// then names nothing or another object; so the handle is closed when the thread has ended. In 100
/// ns units, negative: from now. Our own choice.
constexpr std::int64_t kServeTimeout = -50 * std::int64_t{10000};

/// The longest request that is taken, twice what the longest reply may be: our own choice.
constexpr std::uint32_t kMaxRequest = 0x20000000;

/// Carries a request out, on the serving thread.
using RequestHandler = std::function<PortAnswer(const PortRequest&)>;

class CPortServer {
  public:
    CPortServer(const CPortServer&) = delete;
    CPortServer& operator=(const CPortServer&) = delete;
    virtual ~CPortServer() = default;

    void Open();
    /// Disconnects every client and ends the serving thread. Nothing happens when it is closed.
    void Close();
    bool IsOpen() const { return port_ != nullptr; }

  protected:
    /// Ids of our own stand for the clients in the port's messages; they are never used again.
    using ClientId = std::uintptr_t;

    struct ReceivedRequest {
        Bytes message;
        ClientId client = 0;
        std::optional<NtApi::AlpcDataViewAttr> view;  // advanced port only
    };

    /// What tells one kind of port from the other.
    struct PortKind {
        Transport transport;
        const char* name;  // for people
        const char16_t* portName;
        Bytes connectionInfo;  // what a client sends when it connects
        std::size_t headerSize;
    };

    CPortServer(RequestHandler handler, LineSink sink, PortKind kind);

    virtual NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) = 0;
    /// Waits for one message, for kServeTimeout at most.
    virtual NtApi::NtStatus Receive(ReceivedRequest& received) = 0;
    /// Accepts or refuses a client; `port` becomes its port.
    virtual NtApi::NtStatus Accept(ReceivedRequest& received, ClientId client, bool known,
                                   NtApi::Handle* port) = 0;
    virtual void CloseClient(NtApi::Handle port) = 0;
    /// Throws CMalformed, as the next.
    virtual PortRequest Decode(const Bytes& message) const = 0;
    /// The payload of that length that did not come in the message.
    virtual Bytes Fetch(ReceivedRequest& received, std::uint32_t length) const = 0;
    virtual void Reply(ReceivedRequest& received, const PortRequest& request,
                       const PortAnswer& answer) const = 0;
    /// Gives back what the message keeps of the system's memory.
    virtual void Release(ReceivedRequest&) {}

    NtApi::Handle Port() const { return port_; }
    /// The client's port, or null when it has none any more.
    NtApi::Handle PortOf(ClientId client) const;
    /// Reports `status` when it is an error.
    void ReportFailure(const char* operation, NtApi::NtStatus status) const;

  private:
    void Serve();
    /// False when the port is to be closed, or cannot be served any more.
    bool Next(ReceivedRequest& received);
    void Handle(ReceivedRequest& received);
    void Connect(ReceivedRequest& received);
    void Disconnect(ClientId client, const char* by);
    void HandleRequest(ReceivedRequest& received, bool wantsReply);
    /// Tells what a message of a client is made of, behind its header.
    void TellNative(const ReceivedRequest& received, ClientId client, const char* what) const;
    CLine Line(const char* kind) const;

    const RequestHandler handler_;
    const LineSink sink_;
    const PortKind kind_;

    NtApi::Handle port_ = nullptr;
    boost::thread thread_;
    std::atomic<bool> closing_{false};

    // By the serving thread only, while there is one.
    std::map<ClientId, NtApi::Handle> clients_;
    ClientId lastClient_ = 0;
};

/// The servers of the two ports, which are closed at first.
std::unique_ptr<CPortServer> MakeAlpcServer(RequestHandler handler, LineSink sink);
std::unique_ptr<CPortServer> MakeLpcServer(RequestHandler handler, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
