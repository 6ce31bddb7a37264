// A port of the simulated product: open for clients, or closed.
//
// Threads: Open and Close by one thread; the port is served by a thread of its own.
// Errors: std::runtime_error from Open when the port cannot be made. What goes wrong with one
//   client becomes an `error` event, and the others are served on.
#pragma once

#include <cstdint>
#include <string>

#include "ntapi/Types.h"

namespace Kyr::Lab::SimAgent {

class IPortServer {
  public:
    virtual ~IPortServer() = default;

    virtual void Open() = 0;
    /// Disconnects every client and ends the serving thread. Nothing happens when it is closed.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

// The names that clients look for (protocol); the ids of client and server stand in them.
constexpr char16_t kLpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort";
constexpr char16_t kAlpcPortName[] = u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc";

/// How long a serving thread waits for a message before it looks whether the port is to be closed:
/// nothing wakes a thread that waits on a port. In 100 ns units, negative: from now. Our own
/// choice.
constexpr std::int64_t kServeTimeout = -50 * std::int64_t{10000};

/// The longest request that is taken, twice what the longest reply may be: our own choice.
constexpr std::uint32_t kMaxRequest = 0x20000000;

/// A native status for people: eight hexadecimal digits.
std::string StatusText(NtApi::NtStatus status);

}  // namespace Kyr::Lab::SimAgent
