#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

#include "lab/runner/life/Tellers.h"
#include "lab/runner/life/ToldEvents.h"

namespace Kyr::Lab::Runner {

namespace {

using boost::algorithm::starts_with;
using LifePage::Event;
using LifePage::Lane;

constexpr char kTrigger[] = "OvAgentRequest";

/// What the product is asked because of that message: a function, or the name of a command. Empty:
/// nothing.
std::string AskedFor(const Event& publish) {
    static const std::map<std::string, std::string> kMessages{
        {"KillProcessByPid", "KILL_PROCESS_BY_PID"},
        {"BlockExecutableByHash", "BLOCK_EXECUTABLE_BY_HASH"},
        {"ApplyPolicy", "import"},
        {"RequestConfiguration", "export"}};
    static const std::map<std::string, std::string> kTriggers{{"0", "status"},
                                                              {"2", "task-status"},
                                                              {"3", "get-indicators"},
                                                              {"4", "get-telemetry"},
                                                              {"5", "get-actions"}};
    const bool trigger = Value(publish, "name") == kTrigger;
    const auto& names = trigger ? kTriggers : kMessages;
    const auto found = names.find(Value(publish, trigger ? "request" : "name"));
    return found == names.end() ? "" : found->second;
}

std::string WhatIsAsked(const Event& request) {
    const std::string function = Value(request, "function");
    return function.empty() ? Value(request, "name") : function;
}

/// A message for the product, of the host that runs.
struct Waiting {
    std::size_t message;
    std::string asks;
    bool asked = false;
};

class CMessageJoiner {
  public:
    explicit CMessageJoiner(LifePage::Life& life) : life_(life) {}

    void Join() {
        for (at_ = 0; at_ < life_.events.size(); ++at_) {
            Event& event = life_.events[at_];
            if (event.kind == "command" && event.lane == Lane::kHost) {
                BeginHost();
            }
            if (!Value(event, "context").empty()) {
                TakeOfBus(event);
            } else if (event.kind == "request") {
                TakeRequest(event);
            } else if (event.kind == "reply") {
                event.message = event.answers ? life_.events[*event.answers].message : std::nullopt;
            } else if (event.kind == "did" || event.kind == "handed") {
                event.message = asked_ ? life_.events[*asked_].message : std::nullopt;
            } else if (event.kind == "log" && event.lane == Lane::kTask) {
                TakeLog(event);
            }
        }
    }

  private:
    void BeginHost() {
        waiting_.clear();
        messages_.clear();
        inHand_.reset();
        sending_.reset();
    }

    void TakeOfBus(Event& event) {
        const auto [found, isNew] =
            messages_.emplace(std::make_pair(event.process, Value(event, "context")), at_);
        event.message = found->second;
        if (event.kind != "publish") {
            return;
        }
        const std::string asks = AskedFor(event);
        if (isNew && !asks.empty()) {
            waiting_.push_back({at_, asks});
        } else if (Value(event, "by") == "module" && Value(event, "name") != kTrigger) {
            TakeHand(found->second);
        }
    }

    /// Messages that ask for nothing, those of a connection for example, are never in hand.
    void TakeHand(std::size_t message) {
        const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                        [&](const Waiting& one) { return one.message == message; });
        if (found != waiting_.end()) {
            inHand_ = static_cast<std::size_t>(found - waiting_.begin());
        }
    }

    void TakeRequest(Event& event) {
        if (Value(event, "command") == "0") {
            return;
        }
        asked_ = at_;
        const std::string asks = WhatIsAsked(event);
        const std::string userData = UserData(event.bytes);
        if (const auto sent = byUserData_.find(userData);
            !userData.empty() && sent != byUserData_.end()) {
            TakeHand(sent->second);  // its log line came first
        } else if (!inHand_ || waiting_[*inHand_].asks != asks) {
            const auto next =
                std::find_if(waiting_.begin(), waiting_.end(),
                             [&](const Waiting& one) { return !one.asked && one.asks == asks; });
            if (next == waiting_.end()) {
                return;  // of the connection
            }
            inHand_ = static_cast<std::size_t>(next - waiting_.begin());
        }
        if (waiting_[*inHand_].asks == asks) {
            waiting_[*inHand_].asked = true;
            event.message = waiting_[*inHand_].message;
        }
    }

    void TakeLog(Event& event) {
        if (starts_with(event.text, "Sending ")) {
            sending_ = at_;
            return;
        }
        if (starts_with(event.text, "XML request: ")) {
            TakeXml(event);
            return;
        }
        if (!inHand_ || starts_with(event.text, "Connect") ||
            starts_with(event.text, "Disconnect")) {
            return;
        }
        event.message = waiting_[*inHand_].message;
        const bool settled = starts_with(event.text, "Message task was canceled") ||
                             event.text == "Set policy request to product was successfull";
        if (settled && waiting_[*inHand_].asked) {
            inHand_.reset();
        }
    }

    /// The connector writes down what it sends right before it does.
    void TakeXml(Event& event) {
        const std::string userData = UserData(event.text);
        const auto known = byUserData_.find(userData);
        const std::size_t function = event.text.find("FUNCTION=\"");
        const auto next = std::find_if(waiting_.begin(), waiting_.end(), [&](const Waiting& one) {
            return !one.asked && function != std::string::npos &&
                   event.text.compare(function + 10, one.asks.size(), one.asks) == 0;
        });
        if (known != byUserData_.end()) {
            TakeHand(known->second);
        } else if (next != waiting_.end()) {
            inHand_ = static_cast<std::size_t>(next - waiting_.begin());
            next->asked = true;
            byUserData_[userData] = next->message;
        }
        if (inHand_) {
            event.message = waiting_[*inHand_].message;
            if (sending_) {
                life_.events[*sending_].message = event.message;
            }
        }
        sending_.reset();
    }

    LifePage::Life& life_;
    std::size_t at_ = 0;
    std::vector<Waiting> waiting_;
    std::optional<std::size_t> inHand_;   // of those that wait
    std::optional<std::size_t> sending_;  // the line that says what is sent next
    std::optional<std::size_t> asked_;    // the request that came last
    std::map<std::pair<std::size_t, std::string>, std::size_t> messages_;  // by context
    std::map<std::string, std::size_t> byUserData_;
};

}  // namespace

void JoinMessages(LifePage::Life& life) {
    CMessageJoiner(life).Join();
}

std::string UserData(const std::string& xml) {
    static const std::string kBegin = "NAME=\"USERDATA\" TYPE=\"STRING\" VALUE=\"";
    const std::size_t begin = xml.find(kBegin);
    if (begin == std::string::npos) {
        return "";
    }
    const std::size_t from = begin + kBegin.size();
    return xml.substr(from, xml.find('"', from) - from);
}

}  // namespace Kyr::Lab::Runner
