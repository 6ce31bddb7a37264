// The cells behind LiveCounters.h and an owner that keeps one of them up while it lives.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kyr::PortLayer::Detail {

enum class ECounter {
    Ports,
    Connections,
    Events,
    Threads,
    Mutexes,
    Sections,
    MappedViews,
    PortSections,
    SectionViews,
    ReceivedViews,
    UnreleasedMessages,
    PendingRequests,
    Count
};

std::atomic<std::int64_t>& CounterCell(ECounter counter);

/// Counts one live object from construction to destruction.
class CLiveCount {
  public:
    explicit CLiveCount(ECounter counter) : counter_(counter) {
        CounterCell(counter_).fetch_add(1, std::memory_order_relaxed);
    }
    CLiveCount(const CLiveCount&) = delete;
    CLiveCount& operator=(const CLiveCount&) = delete;
    ~CLiveCount() { CounterCell(counter_).fetch_sub(1, std::memory_order_relaxed); }

  private:
    const ECounter counter_;
};

}  // namespace Kyr::PortLayer::Detail
