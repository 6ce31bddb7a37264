// The host of one life: a bus that queues, a log, a store; none has a lock, since one thread runs
// at a time. Each publication is a place where somebody else may be put in.
//
// Threads: those that the scheduler runs. Errors: a call of the module behind its end is reported
// to the scheduler.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Proofs::Schedules {

class CHost {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Subscriber = boost::shared_ptr<Common::Kernel::ISubscriber>;

    CHost();

    Common::Kernel::IResourceProvider& Resources() { return resources_; }

    /// Pushes into the queues that want it.
    void Deliver(const Message& message);
    /// From now on the module has no reason to call.
    void ExpectSilence(bool silence) { silence_ = silence; }

    bool HasLine(const std::string& part) const;
    /// How often it waits; without a message: how many do.
    std::size_t Queued(const Message& message = {}) const;
    /// Whether the watch of the last connection has looked, or was ended. REQUIRES: no reply was
    /// delivered, the module is started.
    bool IsWatched() const;
    /// How often the task of that third identifier was told to have failed for good, and to be
    /// tried again.
    int Failures(const std::string& identifier) const { return Count(failures_, identifier); }
    int Retries(const std::string& identifier) const { return Count(retries_, identifier); }
    std::map<std::string, std::string> values;

    // What the resources call.
    void Publish(const Message& message);
    void Subscribe(const Subscriber& subscriber, Common::Kernel::MessageType type);
    void Log(const std::string& text);
    std::string Read(const std::string& key);
    void Called(const std::string& what) const;

  private:
    using Counts = std::map<std::string, int>;

    static int Count(const Counts& counts, const std::string& identifier);
    void Enter(const Common::Kernel::IMessage& message);

    Test::CFakeHost resources_;
    std::multimap<Common::Kernel::MessageType, Subscriber> subscribers_;
    std::vector<std::string> lines_;
    Counts failures_;
    Counts retries_;
    bool silence_ = false;
    int watch_ = -1;  // the thread that has looked last
};

}  // namespace Kyr::Proofs::Schedules
