// A port of the simulated product: open for clients, or closed.
//
// Threads: Open and Close by one thread; the port is served by a thread of its own.
// Errors: std::runtime_error from Open when the port cannot be made. What goes wrong with one
//   client becomes an `error` event, and the others are served on.
#pragma once

namespace Kyr::Lab::SimProduct {

class IPort {
  public:
    virtual ~IPort() = default;

    virtual void Open() = 0;
    /// Disconnects every client and ends the serving thread. Nothing happens when it is closed.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

}  // namespace Kyr::Lab::SimProduct
