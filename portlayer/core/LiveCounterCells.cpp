#include "portlayer/core/LiveCounterCells.h"

#include <array>

#include "portlayer/LiveCounters.h"

namespace Kyr::PortLayer {

namespace {

// In the order of the cells.
constexpr const char* kNames[] = {"ports",
                                  "connections",
                                  "events",
                                  "threads",
                                  "mutexes",
                                  "sections",
                                  "mapped views",
                                  "port sections",
                                  "section views",
                                  "received views",
                                  "unreleased messages",
                                  "pending requests"};
constexpr auto kCount = static_cast<std::size_t>(Detail::LiveCounter::kCount);
static_assert(std::size(kNames) == kCount);

// Zero-initialised before any code runs: nothing of this layer runs at load time.
std::array<std::atomic<std::int64_t>, kCount> cells;

}  // namespace

std::atomic<std::int64_t>& Detail::CounterCell(LiveCounter counter) {
    return cells[static_cast<std::size_t>(counter)];
}

std::string LiveObjects() {
    std::string text;
    for (std::size_t i = 0; i < kCount; ++i) {
        const std::int64_t count = cells[i].load(std::memory_order_relaxed);
        if (count != 0) {
            text +=
                (text.empty() ? "" : ", ") + std::string(kNames[i]) + ' ' + std::to_string(count);
        }
    }
    return text;
}

}  // namespace Kyr::PortLayer
