// A legacy port served by a thread of the test, and clients of it.
#pragma once

#include <mutex>
#include <thread>

#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

/// A message as the server's handler gets it, and what it can do with it.
struct LpcCall {
    Handle port;
    Bytes& message;
    void* context;

    Bytes Data() const { return LpcData(message.data()); }
    NtStatus Reply(const Bytes& data);
    NtStatus Read(std::uint32_t entry, void* buffer, std::size_t size);
    NtStatus Write(std::uint32_t entry, const void* buffer, std::size_t size);
};

class LpcPortFixture : public ServedPortFixture<LpcCall> {
  protected:
    /// Creates the port without serving it.
    Handle CreatePort(std::size_t maxMessage = LpcLayout::kMaxMessage);
    /// Creates the port and serves it until StopServer: accepts clients, hands every message but
    /// connection requests to the handler.
    void Serve(Handler handler);
    void StopServer() override;

    NtStatus TryConnect(Handle& port, Bytes* information = nullptr);
    Handle Connect();
    NtStatus Exchange(Handle port, Bytes request, Bytes& reply);
    NtStatus TryAsk(Handle port, const Bytes& data, Bytes& answer) override;

  private:
    void Run();

    Handle serverPort_ = nullptr;
    Handler handler_;
    std::thread server_;
};

}  // namespace Kyr::Test
