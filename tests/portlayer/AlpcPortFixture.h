// An advanced port served by threads of the test, and clients of it.
#pragma once

#include <mutex>
#include <thread>

#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

/// An attribute buffer with a view and a context.
class CAttributes {
  public:
    CAttributes();

    NtApi::AlpcMessageAttributes* Get() {
        return reinterpret_cast<NtApi::AlpcMessageAttributes*>(buffer_.data());
    }
    NtApi::AlpcDataViewAttr& View();
    NtApi::AlpcContextAttr& Context();
    bool HasView() { return (Get()->ValidAttributes & NtApi::kAlpcMessageViewAttribute) != 0; }
    void SetView(const NtApi::AlpcDataViewAttr& view);

  private:
    std::vector<std::uint64_t> buffer_;
};

/// A message as the server's handler gets it, and what it can do with it.
struct ReceivedCall {
    Handle port;    // the connection port
    Handle client;  // the accepted port of the message's sender
    Bytes& message;
    CAttributes& attributes;

    Bytes Data() const { return AlpcData(message.data()); }
    /// With the release flag, so that the client has nothing to release.
    NtStatus Reply(const Bytes& data);
    NtStatus Reply(const Bytes& data, std::uint32_t flags, CAttributes* attributes);
    /// Replies with the bytes in a view and drops everything of it.
    NtStatus ReplyWithView(const Bytes& data, const Bytes& viewBytes);
};

/// A section of the connection with a view that holds the bytes.
NtApi::AlpcDataViewAttr MakeView(Handle port, const Bytes& bytes);

class AlpcPortFixture : public ServedPortFixture<ReceivedCall> {
  protected:
    Handle CreatePort(std::size_t maxMessage = NtApi::kAlpcMaxMessage);
    /// Creates the port and serves it with so many threads until StopServer.
    void Serve(Handler handler, int threads = 1);
    void StopServer() override;

    NtStatus TryConnect(Handle& port, Bytes* message = nullptr, std::int64_t* timeout = nullptr,
                        std::size_t maxMessage = 0xFFEF);
    Handle Connect();
    /// A synchronous request.
    NtStatus Exchange(Handle port, Bytes request, Bytes& reply, CAttributes* sent = nullptr,
                      CAttributes* received = nullptr, std::int64_t* timeout = nullptr);
    NtStatus Release(Handle port, Bytes& message, CAttributes* attributes);
    NtStatus TryAsk(Handle port, const Bytes& data, Bytes& answer) override;
    /// Connects, asks, and expects the connection to be given up.
    void ExpectGivenUp();
    NtStatus SendOneWay(Handle port, Bytes message, CAttributes* attributes = nullptr);

  private:
    void Run();
    void Accept(Bytes& message);

    Handle serverPort_ = nullptr;
    Handler handler_;
    std::vector<std::thread> servers_;
    std::mutex mutex_;
    std::vector<Handle> clients_;  // guarded by mutex_; the context of a connection is its number
};

}  // namespace Kyr::Test
