// A small server of one port over the port layer: accepts every client and answers each request
// with what a function says.
//
// Bytes that are too long for a message go the way that the port offers for them: data entry 1 of
// the request on a legacy port, a view on an advanced one, which is the last client's.
// Threads: one in Serve; Stop is called by another. Errors: a native call that fails while the port
// is open throws std::runtime_error with its name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ntapi/Types.h"

namespace Kyr::Test {

struct PortRequest {
    NtApi::Handle port;
    std::uint8_t* message;
    /// The bytes of a long request on an advanced port, until the request is answered; else null.
    const std::uint8_t* view;
};
/// `head` and, behind it, the bytes, which stay until the next request.
struct PortReply {
    std::uint8_t head[8];
    std::size_t headSize;
    const std::uint8_t* bytes;
    std::size_t size;
};
using PortAnswer = std::function<PortReply(const PortRequest&)>;

class CPortServer {
  public:
    CPortServer() = default;
    CPortServer(const CPortServer&) = delete;
    CPortServer& operator=(const CPortServer&) = delete;
    virtual ~CPortServer() = default;

    /// Until Stop; then all clients are let go.
    void Serve(const PortAnswer& answer);
    void Stop();

  protected:
    virtual void Run(const PortAnswer& answer) = 0;

    NtApi::Handle port_ = nullptr;
    std::vector<NtApi::Handle> clients_;
};

/// The port exists, and clients may connect, as soon as its server does.
class CLpcPortServer final : public CPortServer {
  public:
    explicit CLpcPortServer(const std::u16string& name);

  private:
    void Run(const PortAnswer& answer) override;
};

class CAlpcPortServer final : public CPortServer {
  public:
    explicit CAlpcPortServer(const std::u16string& name);

  private:
    void Run(const PortAnswer& answer) override;
    void ReplyWithView(std::uint8_t* message, const PortReply& reply);
};

}  // namespace Kyr::Test
