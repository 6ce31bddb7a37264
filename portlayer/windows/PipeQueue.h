// The queue that tells a port's receiving threads which input or output of its pipes has ended: a
// completion port.
//
// An operation belongs to itself while the system works on it, whatever becomes of its pipe, and to
// whoever takes it from the queue afterwards. Completion ports keep an operation alive when the
// thread that started it ends.
// Threads: any.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "portlayer/core/Deadline.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer::Detail {

struct PipeOperation {
    explicit PipeOperation(bool connects) : isConnect(connects) {}
    PipeOperation(const PipeOperation&) = delete;
    PipeOperation& operator=(const PipeOperation&) = delete;
    virtual ~PipeOperation() = default;

    OVERLAPPED overlapped = {};
    const bool isConnect;
    // Set when it has ended.
    DWORD error = ERROR_SUCCESS;
    DWORD size = 0;

  private:
    friend class CPipeQueue;
    std::shared_ptr<PipeOperation> self_;
};

class CPipeQueue {
  public:
    CPipeQueue();
    /// Waits for the operations that are under way. REQUIRES: they end: their pipes are closed.
    ~CPipeQueue();

    bool IsOpen() const { return port_.IsOpen(); }
    /// The ends of the pipe's operations come here, but for those whose event has its lowest bit
    /// set.
    bool Add(HANDLE pipe);
    /// To be called before the system is.
    void Begin(const std::shared_ptr<PipeOperation>& operation);
    /// The system refused: there is nothing to wait for.
    void EndAtOnce(PipeOperation& operation, DWORD error);

    /// An operation that has ended, or null: the deadline passed, or `woken`.
    std::shared_ptr<PipeOperation> Next(const CDeadline& deadline, bool& woken);
    /// From now on Next answers at once, and nothing but that it was woken.
    void Wake();

  private:
    std::shared_ptr<PipeOperation> Take(DWORD milliseconds, bool& woken);

    CSystemHandle port_;
    std::atomic<int> begun_{0};
};

}  // namespace Kyr::PortLayer::Detail
