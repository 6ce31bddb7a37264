// When the connector was connected, and when it was not although it was to be.
//
// Threads: one. Errors: none.
#pragma once

#include <string>

#include "probe/explain/Story.h"

namespace Kyr::Probe {

class CConnections {
  public:
    /// The connector begins to connect, for the first time since it was started.
    void Start(const Place& place);
    /// It says that it is connected: behind a start only.
    void Connect(const Place& place);
    /// Something came from the product: no outage goes on.
    void Work(const Place& place);
    /// It cannot be connected, or not any more; an outage that goes on has that cause now.
    void Fail(const Place& place, const std::string& cause, const std::string& next);
    /// An attempt to connect again.
    void CountAttempt();
    /// The host has stopped the connector.
    void Stop(const Place& place);
    /// The same, before the product was reached for the first time.
    void StopUnconnected(const Place& place, const std::string& cause, const std::string& next);

    bool IsConnecting() const { return connecting_; }
    /// The one that goes on, or null.
    const Outage* Current() const;

    /// Into the story.
    void Give(Story& story);

  private:
    std::vector<Place> connections_;
    std::vector<Outage> outages_;
    bool connecting_ = false;
    Place start_;  // of what goes on
};

}  // namespace Kyr::Probe
