#include "probe/commands/Watch.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "kelcomm/KelcommErrorReplyException.h"
#include "logs/SymbolTime.h"
#include "probe/commands/Status.h"
#include "probe/session/NotReached.h"
#include "probe/session/Registration.h"

namespace Kyr::Probe {

namespace {

using std::chrono::milliseconds;

constexpr std::int32_t kProtectionStatus = 2;
constexpr std::int32_t kOutcomes = 8;
constexpr std::int32_t kServerPlugIn = 10;
constexpr milliseconds kSlice{100};
constexpr char kUnset[] = "-1";  // of a value of the area
constexpr char kFirstLook[] = "it was so when the watch began";
constexpr char kNoticesItsEnd[] = "notices within five seconds, and connects anew every ten";

std::string WhatOf(std::int32_t index) {
    return "value " + std::to_string(index) +
           (index == kProtectionStatus ? ", protection status"
            : index == kOutcomes       ? ", outcomes"
            : index == kServerPlugIn   ? ", of the server plug-in"
                                       : "");
}

const char* AnswerTo(std::int32_t index) {
    return index == kProtectionStatus ? "asks for the status in the look five seconds later"
           : index == kOutcomes       ? "asks for outcomes in the look five seconds later"
                                      : "nothing: it does not look at this value";
}

class CWatch {
  public:
    CWatch(CSession& session, const Base::IClock& clock, std::function<void(const Report&)> tell)
        : session_(session), clock_(clock), tell_(std::move(tell)) {}

    bool HasChanged() const { return looksWithChanges_ > 1; }

    void Look() {
        changes_ = {};
        changes_.command = "watch";
        changes_.columns = {{"time"}, {"what"}, {"before"}, {"now"}, {"the connector"}};
        time_ = boost::posix_time::to_iso_extended_string(
                    Kyr::Common::Logs::FromCalendarTime(clock_.CalendarTime())) +
                'Z';
        LookAtRegistration();
        LookAtProduct();
        TellUnset();
        if (!changes_.rows.empty()) {
            ++looksWithChanges_;
            tell_(changes_);
        }
    }

  private:
    /// Tells a value that is another than at the look before, and the first one.
    void Note(const std::string& what, const std::string& now, const std::string& consequence) {
        const auto [place, isFirst] = seen_.try_emplace(what, now);
        if (isFirst && now == kUnset) {
            ++unset_;
        } else if (isFirst) {
            changes_.rows.push_back({time_, what, Value(), now, kFirstLook});
        } else if (place->second != now) {
            changes_.rows.push_back({time_, what, place->second, now, consequence});
            place->second = now;
        }
    }

    /// The values that nobody has set yet, in one row.
    void TellUnset() {
        if (unset_ != 0) {
            changes_.rows.push_back({time_, "other values of the area: " + std::to_string(unset_),
                                     Value(), kUnset, kFirstLook});
            unset_ = 0;
        }
    }

    void LookAtRegistration() {
        const Registration registration = ReadRegistration();
        Note("registered build",
             registration.build             ? std::to_string(*registration.build)
             : registration.problem.empty() ? "none"
                                            : registration.problem,
             "reads it with the next connection");
    }

    void LookAtProduct() {
        std::string why;
        try {
            const bool answers = session_.Ping(why);
            if (!answers && seen_.count("product") == 0) {
                session_.Connect();  // says why not
            }
            Note("product", answers ? "answers" : "gone",
                 answers ? "is connected again within ten seconds" : kNoticesItsEnd);
            if (answers) {
                LookAtValues();
                LookAtStatus();
            }
        } catch (const CNotReached& problem) {
            if (seen_.count("product") == 0) {
                throw;
            }
            const bool isSilent = dynamic_cast<const CNoReplyInTime*>(&problem) != nullptr;
            Note("product", problem.what(),
                 isSilent ? "waits with it: an exchange has no time limit" : kNoticesItsEnd);
        }
    }

    void LookAtValues() {
        for (std::int32_t index = 0; index <= kServerPlugIn; ++index) {
            try {
                Note(WhatOf(index), std::to_string(session_.Broadcast(index)), AnswerTo(index));
            } catch (const CNotReached&) {
                throw;
            } catch (const std::exception& problem) {
                Note(WhatOf(index), problem.what(), "logs that the area cannot be read");
            }
        }
    }

    void LookAtStatus() {
        Report status;
        try {
            status = Ask(session_, StatusQuestion(), false);
        } catch (const Connectors::Common::Kelcomm::CKelcommErrorReplyException& refusal) {
            Note("status", refusal.what(), "tries once more, then gives the task up");
            return;
        }
        std::string text;
        for (const std::vector<Value>& row : status.rows) {
            const auto* const number = std::get_if<std::uint64_t>(row.data());
            text += (text.empty() ? "" : " ") + (number ? std::to_string(*number) : "-");
        }
        Note("status", status.problem ? status.problem->text : text,
             "learns it with value 2, or within the hour");
    }

    CSession& session_;
    const Base::IClock& clock_;
    const std::function<void(const Report&)> tell_;
    std::map<std::string, std::string> seen_;  // by what it is
    Report changes_;
    std::size_t unset_ = 0;             // in the first look
    std::size_t looksWithChanges_ = 0;  // the first look has some
    std::string time_;                  // of the look, in UTC
};

}  // namespace

bool Watch(CSession& session, const WatchOptions& options, Base::IClock& clock,
           const std::function<bool()>& isOver, const std::function<void(const Report&)>& tell) {
    CWatch watch(session, clock, tell);
    milliseconds gone{0};
    const auto isPast = [&] {
        return isOver() || (options.length.count() != 0 && gone >= options.length);
    };
    while (true) {
        watch.Look();
        for (milliseconds paused{0}; paused < options.pause; paused += kSlice) {
            if (isPast()) {
                return watch.HasChanged();
            }
            clock.SleepFor(kSlice);
            gone += kSlice;
        }
    }
}

}  // namespace Kyr::Probe
