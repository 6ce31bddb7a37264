// The cells behind LiveCounters.h and an owner that keeps one of them up while it lives.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kyr::PortLayer::Detail {

enum class LiveCounter {
    kPorts,        // handles of connection, server and client ports
    kConnections,  // ends of connections, sockets included
    kEvents,       // handles, as of the next three
    kThreads,
    kMutexes,
    kSections,
    kMappedViews,         // of named sections
    kPortSections,        // of advanced ports
    kSectionViews,        // made on port sections and not released
    kReceivedViews,       // came with a message and were not released
    kUnreleasedMessages,  // received, and still to be sent back with the release
    kPendingRequests,     // received and not answered
    kCount
};

std::atomic<std::int64_t>& CounterCell(LiveCounter counter);

/// Counts one live object from construction to destruction.
class CLiveCount {
  public:
    explicit CLiveCount(LiveCounter counter) : counter_(counter) {
        CounterCell(counter_).fetch_add(1, std::memory_order_relaxed);
    }
    CLiveCount(const CLiveCount&) = delete;
    CLiveCount& operator=(const CLiveCount&) = delete;
    ~CLiveCount() { CounterCell(counter_).fetch_sub(1, std::memory_order_relaxed); }

  private:
    const LiveCounter counter_;
};

}  // namespace Kyr::PortLayer::Detail
