// A client of the product's local port: sends one request (a command and an opaque payload) and
// receives one reply (a result code and an opaque payload).
//
// Errors: nothing throws; every operation returns a 32-bit code, 0 being success. A reply's own
// result code is returned unchanged, so that the server's codes and the local ones (KelcommResult)
// share one space.
// Threads: see the implementing class.
// Calling order: construct, Initialize, any number of requests and reads (the first request
// connects the port), Close, destroy.
// The order of the virtual operations is part of the contract.
#pragma once

#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

class CBuffer;

/// Result codes that the clients make themselves. An operation that the LPC client does not provide
/// is a failure when it is a request, and kKelcommNotProvided when it is Uninitialize.
enum KelcommResult : std::uint32_t {
    kKelcommSuccess = 0,
    kKelcommFailure = 1,  // not connected, exchange failed, malformed reply, request not provided
    kKelcommNotProvided = 3,
    kKelcommCannotConnect = 4,  // or ids already set
    kKelcommReplyTooLarge = 6,  // the reply does not fit
    kKelcommTimedOut = 9,
    kKelcommInvalidArgument = 10,
};

// Options. The module's clients have none.
constexpr std::uint32_t kKelcommNoOptions = 0;
/// Keep the calling thread's window messages flowing while it waits for a reply (LPC only).
constexpr std::uint32_t kKelcommPumpMessages = 2;

/// Request flag: no reply is wanted.
constexpr std::uint32_t kKelcommOneWay = 1;

class IKelcommClient {
  public:
    virtual ~IKelcommClient();
    virtual std::uint32_t Initialize(std::uint32_t clientId, std::uint32_t serverId,
                                     std::uint32_t options) = 0;
    virtual std::uint32_t Uninitialize() = 0;
    virtual std::uint32_t Close() = 0;
    /// Like Request, but the reply is appended to `reply`. `timeout` as in Request. Part of the
    /// contract; nothing in the library calls it.
    virtual std::uint32_t RequestToBuffer(std::uint32_t flags, std::uint32_t command,
                                          const void* request, std::uint32_t requestLength,
                                          CBuffer* reply, std::int64_t timeout) = 0;
    /// Sends `requestLength` bytes and writes at most `replyCapacity` reply bytes to `reply`;
    /// stores their number in `replyLength` when it is given. `timeout` counts 100 ns units,
    /// negative = relative, 0 = no limit.
    virtual std::uint32_t Request(std::uint32_t flags, std::uint32_t command, const void* request,
                                  std::uint32_t requestLength, void* reply,
                                  std::uint32_t replyCapacity, std::uint32_t* replyLength,
                                  std::int64_t timeout) = 0;
    /// Copies `length` bytes from `offset` of the product's broadcast area.
    virtual std::uint32_t ReadBroadcast(std::uint32_t offset, void* destination,
                                        std::uint32_t length) = 0;
    /// Reads the 32-bit value at `offset` of the product's broadcast area.
    virtual std::uint32_t ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) = 0;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
