// The cells behind LiveCounters.h and an owner that keeps one of them up while it lives.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace Kyr::PortLayer::Detail {

enum class LiveCounter {
    kPorts,        // that clients connect to
    kConnections,  // ends of connections, sockets included; a handle of one holds it
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

/// Counts one live object from construction to Reset or destruction; moves with what it counts.
class CLiveCount {
  public:
    CLiveCount() = default;
    explicit CLiveCount(LiveCounter counter) : cell_(&CounterCell(counter)) {
        cell_->fetch_add(1, std::memory_order_relaxed);
    }
    explicit operator bool() const { return cell_ != nullptr; }
    void Reset() { cell_.reset(); }

  private:
    struct CountDown {
        void operator()(std::atomic<std::int64_t>* cell) const {
            cell->fetch_sub(1, std::memory_order_relaxed);
        }
    };
    std::unique_ptr<std::atomic<std::int64_t>, CountDown> cell_;
};

}  // namespace Kyr::PortLayer::Detail
