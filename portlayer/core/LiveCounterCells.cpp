#include "portlayer/core/LiveCounterCells.h"

#include <array>
#include <sstream>

#include "portlayer/LayerSettings.h"
#include "portlayer/LiveCounters.h"

namespace Kyr::PortLayer {

namespace Detail {

namespace {

// Zero-initialised before any code runs: nothing of this layer runs at load time.
std::array<std::atomic<std::int64_t>, static_cast<std::size_t>(LiveCounter::kCount)> cells;
std::atomic<NtApi::NtStatus> alpcServerGone{NtApi::kStatusPortDisconnected};

std::int64_t Read(LiveCounter counter) {
    return CounterCell(counter).load(std::memory_order_relaxed);
}

}  // namespace

std::atomic<std::int64_t>& CounterCell(LiveCounter counter) {
    return cells[static_cast<std::size_t>(counter)];
}

}  // namespace Detail

LiveCounters ReadLiveCounters() {
    using Detail::LiveCounter;
    using Detail::Read;
    LiveCounters counters;
    counters.ports = Read(LiveCounter::kPorts);
    counters.connections = Read(LiveCounter::kConnections);
    counters.events = Read(LiveCounter::kEvents);
    counters.threads = Read(LiveCounter::kThreads);
    counters.mutexes = Read(LiveCounter::kMutexes);
    counters.sections = Read(LiveCounter::kSections);
    counters.mappedViews = Read(LiveCounter::kMappedViews);
    counters.portSections = Read(LiveCounter::kPortSections);
    counters.sectionViews = Read(LiveCounter::kSectionViews);
    counters.receivedViews = Read(LiveCounter::kReceivedViews);
    counters.unreleasedMessages = Read(LiveCounter::kUnreleasedMessages);
    counters.pendingRequests = Read(LiveCounter::kPendingRequests);
    return counters;
}

bool LiveCounters::AllZero() const {
    return Text().empty();
}

std::string LiveCounters::Text() const {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    const auto add = [&text](const char* name, std::int64_t value) {
        if (value != 0) {
            text << (text.tellp() > 0 ? ", " : "") << name << ' ' << value;
        }
    };
    add("ports", ports);
    add("connections", connections);
    add("events", events);
    add("threads", threads);
    add("mutexes", mutexes);
    add("sections", sections);
    add("mapped views", mappedViews);
    add("port sections", portSections);
    add("section views", sectionViews);
    add("received views", receivedViews);
    add("unreleased messages", unreleasedMessages);
    add("pending requests", pendingRequests);
    return text.str();
}

void SetAlpcServerGoneStatus(NtApi::NtStatus status) {
    Detail::alpcServerGone.store(status);
}

NtApi::NtStatus AlpcServerGoneStatus() {
    return Detail::alpcServerGone.load();
}

}  // namespace Kyr::PortLayer
