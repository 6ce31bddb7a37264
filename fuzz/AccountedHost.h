// The host of a conversation: a bus that delivers, a log, and stores, all of which enter in the
// accounts what comes there, and refuse or throw when they are told to.
//
// Every message that the bus delivers to a queue must have come there, none twice, and be let go in
// the end, and so must every delivery context.
//
// Threads: the module's call it; all other operations belong to the conductor, and are made while
// everybody waits. Errors: a broken promise ends the process, with a line that says which.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>
#include <boost/weak_ptr.hpp>

#include "fuzz/Account.h"
#include "fuzz/ITurnClock.h"
#include "fuzz/Reports.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Fuzz {

class CAccountedHost {
  public:
    using Message = CAccount::Message;
    using Trace = std::function<void(const char* what, const std::string& text)>;

    /// What it may refuse or throw at: it refuses batches of records (by throwing), offsets and
    /// actions, and throws at events of tasks, triggers, readings, writings and actions.
    enum class At {
        kBatches,
        kOffsets,
        kActions,
        kEvents,
        kTriggers,
        kOutcomeRequests,  // those triggers alone
        kReads,
        kWrites,
        kActionsByThrowing,
        kCount
    };
    static constexpr int kLasting = 1 << 30;

    /// REQUIRES: the accounts and the clock outlive the host. `note`: the calling thread has done
    /// something.
    CAccountedHost(CAccount& account, CReports& reports, ITurnClock& clock,
                   std::function<void()> note);
    ~CAccountedHost();
    CAccountedHost(const CAccountedHost&) = delete;
    CAccountedHost& operator=(const CAccountedHost&) = delete;

    /// Lines are not kept then. REQUIRES: no module has begun.
    void OnTrace(Trace trace);
    /// Tells that trace, if there is one.
    void Tell(const char* what, const std::string& text) const;

    /// What a module is given.
    Test::CFakeHost& Resources() { return *host_; }
    Test::CFakeKeyValues& Values() { return *host_->database->keyValues; }
    std::vector<std::string> Lines() const { return log_->Lines(); }

    void Deliver(const Message& message);
    /// The next so many times.
    void FailAt(At what, int times);
    void EndFaults();
    /// Nothing: an inactive module has no queues.
    std::optional<std::vector<Message>> QueuedOfBalancedQueues() const;

    /// REQUIRES: the module is gone. Its lines stay.
    void End();
    /// A host whose key-value store is all that has outlived the one before. REQUIRES: that has
    /// ended.
    void BeginAnew();

  private:
    void Begin();
    void KeepAccount();
    void EnterPublished(const Common::Kernel::IMessage& message);
    /// The bus is about to deliver a message of this type, from the host or from the module itself.
    void CountDelivery(Common::Kernel::MessageType type);
    /// One failure less, if any is left.
    bool Fails(At what);

    CAccount& account_;
    CReports& reports_;
    ITurnClock& clock_;
    const std::function<void()> note_;
    Trace trace_;
    mutable boost::mutex deliveriesMutex_;
    std::map<Common::Kernel::MessageType, std::uint64_t>
        deliveries_;  // guarded by deliveriesMutex_
    std::atomic<int> failures_[static_cast<std::size_t>(At::kCount)]{};
    std::unique_ptr<Test::CFakeHost> host_;
    boost::shared_ptr<Test::CLogCapture> log_;
    std::map<std::string, std::string> kept_;  // of the host before
    std::vector<boost::weak_ptr<Common::Kernel::IMessage>> messages_;
    std::vector<boost::weak_ptr<Common::Kernel::IDeliveryContext>> contexts_;
};

}  // namespace Kyr::Fuzz
