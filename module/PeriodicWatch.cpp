#include "module/PeriodicWatch.h"

#include <exception>

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "logs/SymbolTime.h"

namespace Kyr::Connectors::OvAgentConnector {

using namespace Kyr::Common::Message::Connectors::OvAgentConnector;

namespace {

constexpr std::chrono::milliseconds kPause{5000};
constexpr std::uint64_t kIterationsUntilResend = 720;  // about an hour

/// A broadcast value whose change calls for a trigger, and how long the product gets to settle.
struct BroadcastRow {
    std::int32_t index;
    OvAgentRequestType trigger;
    int delaySeconds;
};

constexpr BroadcastRow kBroadcasts[] = {
    {2, kProtectionStatus, 5},
    {8, kTaskStatus, 5},
};

// The last builds of the product that cannot give such records.
constexpr std::int64_t kLastBuildWithoutIndicators = 5057;
constexpr std::int64_t kLastBuildWithoutTelemetry = 5542;

constexpr char kRecordsFailure[] = "Error during checking for new ECS logs: ";

boost::shared_ptr<COvAgentRequest> MakeTrigger(OvAgentRequestType type) {
    auto trigger = boost::make_shared<COvAgentRequest>();
    trigger->SetRequestType(type);
    trigger->SetReadOnly();
    return trigger;
}

}  // namespace

CPeriodicWatch::CPeriodicWatch(const Parts& parts, std::optional<std::int64_t> productBuild)
    : parts_(parts), productBuild_(productBuild) {}

// The thread ends by interruption: in the sleep, or here before the first look. Counting starts
// with each connection, and so does the hour until everything is sent again.
void CPeriodicWatch::Run() {
    for (std::uint64_t iteration = 1;; ++iteration) {
        boost::this_thread::interruption_point();
        if (Guarded([this] { PingProduct(); })) {
            // Not guarded: without a time there is nothing to watch by.
            const Time now = Kyr::Common::Logs::FromCalendarTime(parts_.clock.CalendarTime());
            Guarded([&] { Look(now, iteration); });
        }
        parts_.clock.SleepFor(kPause);
    }
}

// One time serves the whole look. A change that is found now is due five seconds from now: never in
// the look that found it.
void CPeriodicWatch::Look(const Time& now, std::uint64_t iteration) {
    CheckBroadcasts(now);
    PublishDueTriggers(now);
    if (iteration % kIterationsUntilResend == 0) {
        ResendTriggers();
    }
    TriggerNewRecords();
    TriggerNewActions();
}

void CPeriodicWatch::PingProduct() {
    std::string errors;
    if (!parts_.channel.Ping(errors)) {
        parts_.logger.GetLog(3) << "Ping failed -> COvAgentConnector will be restarted: " << errors;
        // The status task meets the same failure, and that makes the core reconnect.
        PublishTrigger(kProtectionStatus);
    }
}

void CPeriodicWatch::CheckBroadcasts(const Time& now) {
    try {
        // Reading a value also remembers it: a change is told once. If the second read fails, what
        // the first one found is in the list already.
        for (const BroadcastRow& row : kBroadcasts) {
            // Made first: a change that is told must not be lost for want of memory.
            std::list<PendingTrigger> due{
                {now + boost::posix_time::seconds(row.delaySeconds), MakeTrigger(row.trigger)}};
            if (parts_.channel.HasBroadcastChanged(row.index)) {
                pending_.splice(pending_.end(), due);
                parts_.logger.GetLog(2) << "Received broadcast " << row.index;
            }
        }
    } catch (const std::exception& error) {
        parts_.logger.GetLog(4) << "Error during checking for new broadcast messages: "
                                << error.what();
    }
}

void CPeriodicWatch::PublishDueTriggers(const Time& now) {
    for (auto entry = pending_.begin(); entry != pending_.end();) {
        // The list is in the order of detection; that this is the order of due times, too, nothing
        // relies on. Two changes of one value are two triggers.
        if (entry->due > now) {
            ++entry;
            continue;
        }
        parts_.logger.GetLog(2) << "Publishing request " << entry->trigger->GetRequestType();
        parts_.publisher.Publish(entry->trigger);
        // Not before: what the bus refuses is asked for again in the next look.
        entry = pending_.erase(entry);
    }
}

void CPeriodicWatch::ResendTriggers() {
    parts_.logger.GetLog(2) << "Regular resending of all requests";
    PublishTrigger(kProtectionStatus);
    PublishTrigger(kTaskStatus);
}

void CPeriodicWatch::TriggerNewRecords() {
    try {
        // Read anew in every look: a policy may switch it on and off. Exactly "1", as the policy
        // writes it; a product of unknown build is asked for nothing.
        const bool enabled = parts_.keyValues.GetValue("XDR_ENABLED") == "1" &&
                             !parts_.keyValues.GetValue("XDR_HOST").empty();
        if (!enabled || !productBuild_) {
            return;
        }
        if (*productBuild_ > kLastBuildWithoutIndicators) {
            // Each with a handler of its own: a failure of one kind does not cost the other, and
            // the line names the kind.
            TryToTrigger(kEcsIndicatorLogs, "Error during checking for new ECS indicator logs: ");
        }
        if (*productBuild_ > kLastBuildWithoutTelemetry) {
            TryToTrigger(kEcsTelemetryLogs, "Error during checking for new ECS telemetry logs: ");
        }
    } catch (const std::exception& error) {
        parts_.logger.GetLog(4) << kRecordsFailure << error.what();
    }
}

void CPeriodicWatch::TriggerNewActions() {
    try {
        const std::string flag = parts_.keyValues.GetValue("OV_REMEDIATION_ENABLED");
        if (flag.empty()) {
            return;
        }
        // What a cast to bool takes: "1" and "0", also behind zeros and a sign ("-" before 0 only).
        // No words.
        bool enabled = false;
        if (!boost::conversion::try_lexical_convert(flag, enabled)) {
            parts_.logger.GetLog(4)
                << "OV rule actions flag is not a bool, disabling rule actions propagation";
        } else if (enabled) {
            TryToTrigger(kRemediationActions,
                         "Error during checking for new OV remediation actions: ");
        }
    } catch (const std::exception& error) {
        // Deliberately the text of the records' check.
        parts_.logger.GetLog(4) << kRecordsFailure << error.what();
    }
}

void CPeriodicWatch::TryToTrigger(TriggerType type, const char* failureText) {
    try {
        PublishTrigger(type);
    } catch (const std::exception& error) {
        parts_.logger.GetLog(4) << failureText << error.what();
    }
}

void CPeriodicWatch::PublishTrigger(TriggerType type) {
    parts_.publisher.Publish(MakeTrigger(type));
}

// Interruption, which ends the thread, passes.
template <typename Step>
bool CPeriodicWatch::Guarded(Step step) {
    try {
        step();
        return true;
    } catch (const boost::thread_interrupted&) {
        throw;
    } catch (const std::exception& error) {
        parts_.logger.GetLog(4) << error.what();
    } catch (...) {
        parts_.logger.GetLog(4) << "Watching the product failed with an unknown exception";
    }
    return false;
}

}  // namespace Kyr::Connectors::OvAgentConnector
