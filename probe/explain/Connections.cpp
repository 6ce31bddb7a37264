#include "probe/explain/Connections.h"

#include <utility>

namespace Kyr::Probe {

void CConnections::Start(const Place& place) {
    connecting_ = true;
    start_ = place;
    if (Current() != nullptr) {
        outages_.back().stopped.reset();
    }
}

void CConnections::Connect(const Place& place) {
    connecting_ = false;
    connections_.push_back(place);
    Work(place);
}

void CConnections::Work(const Place& place) {
    if (Current() != nullptr) {
        outages_.back().over = true;
        outages_.back().ends = place;
    }
}

void CConnections::Fail(const Place& place, const std::string& cause, const std::string& next) {
    if (Current() == nullptr) {
        outages_.push_back({place, cause, next, 0, false, {}, {}});
    } else if (!cause.empty()) {
        outages_.back().cause = cause;
        outages_.back().next = next;
    }
}

void CConnections::CountAttempt() {
    if (Current() != nullptr) {
        ++outages_.back().attempts;
    }
}

void CConnections::Stop(const Place& place) {
    connecting_ = false;
    if (Current() != nullptr) {
        outages_.back().stopped = place;
    }
}

void CConnections::StopUnconnected(const Place& place, const std::string& cause,
                                   const std::string& next) {
    // An outage that goes on has a cause that says more.
    if (Current() == nullptr) {
        Fail(connecting_ ? start_ : place, cause, next);
    }
    Stop(place);
}

const Outage* CConnections::Current() const {
    return outages_.empty() || outages_.back().over ? nullptr : &outages_.back();
}

void CConnections::Give(Story& story) {
    story.connections = std::move(connections_);
    story.outages = std::move(outages_);
    story.connecting = connecting_;
}

}  // namespace Kyr::Probe
