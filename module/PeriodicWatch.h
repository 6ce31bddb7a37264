// Watches the product beside the task thread, one look every five seconds: pings it, looks
// for changed broadcast values, and asks for what is due.
//
// It never talks to the product but to ping it and to read its broadcast area. Whatever else it
// wants done it publishes as a COvAgentRequest, which comes back over the bus to the module's own
// tasks. It remembers nothing from one connection to the next.
//
// Threads: a watch belongs to the one thread that runs it.
// Ownership: borrows everything; all of it must outlive the watch.
// Errors: what product, store or bus throw costs a line at level 4 and the rest of the look at
// most.
//   A change that was seen is asked for all the same, if not in this look then in a later one.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "host/database/IMapper.h"
#include "kelcomm/OvAgentChannel.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

class CPeriodicWatch {
  public:
    struct Parts {
        COvAgentChannel& channel;
        Kyr::Common::Database::IKeyValueAccessMapper& keyValues;  // the policy's flags
        Kyr::Common::Module::IMessagePublisher& publisher;
        Common::ILogger& logger;
        Base::IClock& clock;
    };

    /// `productBuild` decides which records the product can give.
    CPeriodicWatch(const Parts& parts, std::optional<std::int64_t> productBuild);

    /// Watches until the thread is interrupted, at the latest within the five seconds of a sleep.
    /// Throws boost::thread_interrupted then, and std::runtime_error "could not convert calendar
    /// time to UTC time" when the clock shows none.
    void Run();

  private:
    using Trigger =
        boost::shared_ptr<Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest>;
    using TriggerType = Kyr::Common::Message::Connectors::OvAgentConnector::OvAgentRequestType;
    using Time = boost::posix_time::ptime;

    struct PendingTrigger {
        Time due;
        Trigger trigger;
    };

    void PingProduct();
    void Look(const Time& now, std::uint64_t iteration);
    void CheckBroadcasts(const Time& now);
    void PublishDueTriggers(const Time& now);
    void ResendTriggers();
    void TriggerNewRecords();
    void TriggerNewActions();
    /// What the publisher throws is written behind `failureText`.
    void TryToTrigger(TriggerType type, const char* failureText);
    void PublishTrigger(TriggerType type);
    /// False: the step has failed, which cost a line.
    template <typename Step>
    bool Guarded(Step step);

    const Parts parts_;
    const std::optional<std::int64_t> productBuild_;
    std::list<PendingTrigger> pending_;  // in the order of their detection
};

}  // namespace Kyr::Connectors::OvAgentConnector
