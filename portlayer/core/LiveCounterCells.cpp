#include "portlayer/core/LiveCounterCells.h"

#include <array>
#include <sstream>

#include "portlayer/LayerSettings.h"
#include "portlayer/LiveCounters.h"

namespace Kyr::PortLayer {

namespace Detail {

namespace {

// Zero-initialised before any code runs: nothing of this layer runs at load time.
std::array<std::atomic<std::int64_t>, static_cast<std::size_t>(ECounter::Count)> cells;
std::atomic<NtApi::NtStatus> alpcServerGone{NtApi::kStatusPortDisconnected};

std::int64_t Read(ECounter counter) {
    return CounterCell(counter).load(std::memory_order_relaxed);
}

}  // namespace

std::atomic<std::int64_t>& CounterCell(ECounter counter) {
    return cells[static_cast<std::size_t>(counter)];
}

}  // namespace Detail

CLiveCounters ReadLiveCounters() {
    using Detail::ECounter;
    using Detail::Read;
    CLiveCounters counters;
    counters.ports = Read(ECounter::Ports);
    counters.connections = Read(ECounter::Connections);
    counters.events = Read(ECounter::Events);
    counters.threads = Read(ECounter::Threads);
    counters.mutexes = Read(ECounter::Mutexes);
    counters.sections = Read(ECounter::Sections);
    counters.mappedViews = Read(ECounter::MappedViews);
    counters.portSections = Read(ECounter::PortSections);
    counters.sectionViews = Read(ECounter::SectionViews);
    counters.receivedViews = Read(ECounter::ReceivedViews);
    counters.unreleasedMessages = Read(ECounter::UnreleasedMessages);
    counters.pendingRequests = Read(ECounter::PendingRequests);
    return counters;
}

bool CLiveCounters::AllZero() const {
    return Text().empty();
}

std::string CLiveCounters::Text() const {
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
