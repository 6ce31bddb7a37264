#include <optional>
#include <string>

#include <boost/algorithm/string/predicate.hpp>

#include "lab/runner/life/Tellers.h"
#include "lab/runner/life/ToldEvents.h"

namespace Kyr::Lab::Runner {

namespace {

using boost::algorithm::starts_with;
using LifePage::Event;

bool IsLog(const Event& event, const std::string& begin) {
    return event.kind == "log" && starts_with(event.text, begin);
}

/// A connector that has connected, for the first time or again, tells the server so.
bool IsConnected(const Event& event) {
    return event.kind == "publish" && Value(event, "name") == "StatusLog_AGENT_PRESENCE";
}

class COutageTeller {
  public:
    explicit COutageTeller(LifePage::Life& life) : life_(life) {}

    void Tell() {
        for (at_ = 0; at_ < life_.events.size(); ++at_) {
            Take(life_.events[at_]);
        }
        Close(life_.events.empty() ? LifePage::Moment() : life_.events.back().at, false);
    }

  private:
    void Take(const Event& event) {
        if (IsLog(event, "Connecting to product")) {
            // A module that stops and starts anew in an outage goes on with it.
            if (Open(event, "the connector looks for the product")) {
                life_.outages.back().first = true;
            }
        } else if (IsLog(event, "Ping failed")) {
            Open(event, event.text);
        } else if (IsLog(event, "Reconnecting to product")) {
            Open(event, failure_);
            ++life_.outages.back().attempts;
        } else if (IsConnected(event)) {
            Close(event.at, true);
        } else if (event.kind == "end" && event.lane == LifePage::Lane::kHost) {
            if (open_) {
                life_.outages.back().hostStopped = true;
            }
            Close(event.at, false);
        } else if (event.kind == "log" && event.level == 4) {
            failure_ = event.text;
            failedAt_ = at_;
        }
    }

    /// False: an outage is not over, and goes on. A request that failed began it, if one did.
    bool Open(const Event& event, const std::string& cause) {
        if (open_) {
            return false;
        }
        const bool failed = cause == failure_ && failedAt_;
        const std::size_t begin = failed ? *failedAt_ : at_;
        life_.outages.push_back(
            {failed ? life_.events[begin].at : event.at, {}, false, false, false, cause, 0, begin});
        open_ = true;
        return true;
    }

    void Close(LifePage::Moment until, bool over) {
        if (open_) {
            life_.outages.back().until = until;
            life_.outages.back().over = over;
            open_ = false;
        }
        failure_.clear();
        failedAt_.reset();
    }

    LifePage::Life& life_;
    std::size_t at_ = 0;
    bool open_ = false;
    std::string failure_;  // the last one since there was a connection
    std::optional<std::size_t> failedAt_;
};

}  // namespace

void TellOutages(LifePage::Life& life) {
    COutageTeller(life).Tell();
}

}  // namespace Kyr::Lab::Runner
