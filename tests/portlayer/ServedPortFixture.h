// A port of either kind that threads of the test serve, and clients of it.
//
// What both kinds can do has one name here, so that a test may ask the same of both. Ports that a
// test opens by functions without Try are closed at its end, and so are those of TryConnect.
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "ntapi/Status.h"
#include "tests/portlayer/PortFixture.h"
#include "tests/portlayer/ReceivedCall.h"

namespace Kyr::Test {

/// How long a call may wait; without end when there is none.
using Patience = std::optional<std::chrono::milliseconds>;

class ServedPortFixture : public PortFixture {
  protected:
    using Handler = std::function<void(ReceivedCall&)>;

    explicit ServedPortFixture(PortKind kind) : kind_(kind), traits_(TraitsOf(kind)) {}
    void TearDown() override;

    const PortTraits& Traits() const { return traits_; }
    /// What fits the longest message of the clients here.
    std::size_t LongestData() const { return traits_.longestOfClients - traits_.headerSize; }
    /// With room for the longest.
    Bytes MakeMessage(const Bytes& data) const;

    // The server's calls.
    NtStatus TryCreatePort(Handle& port, std::size_t maxMessage);
    Handle CreatePort(std::size_t maxMessage);
    Handle CreatePort() { return CreatePort(traits_.longestMessage); }
    NtStatus TryReceive(Handle port, Bytes& message, Patience patience = {},
                        CAttributes* attributes = nullptr);
    Bytes Receive(Handle port);
    /// Answers a connection request, and lets the client go on. `number` is the context.
    NtStatus Answer(Handle port, Bytes& request, bool accept, Handle& accepted,
                    std::size_t number = 0);
    Handle Accept(Handle port, Bytes& request);

    // A server in threads.
    /// Creates the port and serves it with so many threads until StopServer: accepts clients, hands
    /// every message but connection requests to the handler.
    void Serve(Handler handler, int threads = 1);
    void StopServer();
    /// Hands requests to the handler, and ignores everything else.
    static Handler OnRequests(Handler handler);
    /// Answers with what was brought.
    static void Echo(ReceivedCall& call);
    static void Ignore(ReceivedCall&) {}
    /// Takes one request and never answers.
    Handler Silence();

    // The client's calls.
    /// `information` goes along, and is replaced by the server's. Legacy ports wait without end.
    NtStatus TryConnect(Handle& port, Bytes* information = nullptr, Patience patience = {});
    /// The same, to be told how it ends.
    NtStatus TryConnect(Patience patience = {});
    std::future<NtStatus> ConnectInBackground(Bytes* information = nullptr);
    Handle Connect();
    /// A request that waits for its reply; attributes and patience on an advanced port.
    NtStatus Exchange(Handle port, Bytes request, Bytes& reply, CAttributes* sent = nullptr,
                      CAttributes* received = nullptr, Patience patience = {});
    /// The same without data, to be told how it ends.
    NtStatus TryAsk(Handle port, CAttributes* sent = nullptr, Patience patience = {});
    NtStatus SendOneWay(Handle port, Bytes message, CAttributes* attributes = nullptr);
    /// Fails the test on an error status.
    Bytes Ask(Handle port, const Bytes& data);
    /// Asks a server that is served by Silence; returns when it has the request.
    std::future<NtStatus> AskInVain(Handle port);
    /// Each thread asks so many times, and is to get what it brought.
    void AskOnThreads(Handle port, int count, int times);

  private:
    bool IsLegacy() const { return kind_ == PortKind::kLegacy; }
    void Run();
    void AcceptNext(Bytes& request);

    const PortKind kind_;
    const PortTraits& traits_;
    Handle serverPort_ = nullptr;
    Handler handler_;
    std::vector<std::thread> servers_;
    std::promise<void> asked_;
    std::mutex mutex_;
    // Guarded by mutex_. A client's context is its place here, counted from 1.
    std::vector<Handle> clients_;
};

class LpcPortFixture : public ServedPortFixture {
  protected:
    LpcPortFixture() : ServedPortFixture(PortKind::kLegacy) {}
};

class AlpcPortFixture : public ServedPortFixture {
  protected:
    AlpcPortFixture() : ServedPortFixture(PortKind::kAdvanced) {}

    static NtStatus TryCreateSection(Handle port, std::size_t size, Handle& section,
                                     std::uint32_t flags = NtApi::kAlpcPortSectionSecure);
    /// Gives a received message back.
    NtStatus Release(Handle port, Bytes& message, CAttributes* attributes);
    /// Connects, asks, and expects the connection to be given up.
    void ExpectGivenUp();
};

}  // namespace Kyr::Test
