// A log of the lab's host, line for line, as the connector would have written it, and its story.
#pragma once

#include <sstream>
#include <string>

#include "probe/explain/HostLog.h"
#include "probe/explain/StoryText.h"
#include "probe/explain/Tell.h"

namespace Kyr::Probe::Test {

constexpr char kFirst[] = "11111111-1111-1111-1111-111111111111";
constexpr char kSecond[] = "22222222-2222-2222-2222-222222222222";
constexpr char kThird[] = "33333333-3333-3333-3333-333333333333";

constexpr char kPortGone[] = "CKelcommChannel: Send request failed with kelcomm error 1";
constexpr char kRefused[] = "CKelcommChannel: Send request failed with 3";
constexpr char kPingFailed[] =
    "Ping failed -> COvAgentConnector will be restarted: Ping (CCCOMM_PING) failed with 1";
constexpr char kInactive[] =
    "Connector was deactivated. No tasks will be processed and no logs will be produced.";
constexpr char kPolicyTaken[] = "Set policy request to product was successfull";
constexpr char kConnectingFails[] = "Starting TULK OVANTA Connector connector module failed with: ";
constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached, message was: ";

/// Lines a second after each other.
class CLoggedLife {
  public:
    CLoggedLife& Add(int level, const std::string& text) {
        std::string quoted;
        for (const char sign : text) {
            quoted += sign == '"' || sign == '\\' ? std::string{'\\', sign} : std::string{sign};
        }
        return AddLine("log level=" + std::to_string(level) +
                       " source=COvAgentConnectorModule text=\"" + quoted + "\"");
    }
    CLoggedLife& AddLine(const std::string& line) {
        const std::string second = std::to_string(seconds_ % 60);
        text_ += "12:0" + std::to_string(seconds_ / 60) + ":" + (second.size() == 1 ? "0" : "") +
                 second + ".000 " + line + " at=1\n";
        ++seconds_;
        return *this;
    }
    CLoggedLife& Connected() {
        return Add(2, "Connecting to product").Add(2, "Connected to product, processing tasks");
    }
    CLoggedLife& Reconnecting() { return Add(2, "Reconnecting to product"); }
    CLoggedLife& Kill(const std::string& userData = std::string(kFirst) + ";" + kSecond + ";" +
                                                    kThird) {
        return Add(2, "Sending kill process by pid request to product")
            .Add(2,
                 "XML request: <NODE NAME=\"PID\" TYPE=\"STRING\" VALUE=\"4711\" /><NODE "
                 "NAME=\"USERDATA\" TYPE=\"STRING\" VALUE=\"" +
                     userData + "\" />");
    }
    /// The host's row of the event of the task that Kill() gives; done is 0x000000010000000b.
    CLoggedLife& Outcome(const std::string& outcome) {
        return AddLine("symbols type=10368 2836-status=1 2842-task-first=" + std::string(kFirst) +
                       " 2844-task-second=" + kSecond + " 2846-task-third=" + kThird +
                       " 2848-outcome=" + outcome);
    }
    CLoggedLife& Wait(int seconds) {
        seconds_ += seconds;
        return *this;
    }

    const std::string& Text() const { return text_; }
    Story Told() const {
        HostLog log;
        std::istringstream input(text_);
        ReadHostLog(input, "host.log", log);
        return Tell(log);
    }

  private:
    std::string text_;
    int seconds_ = 0;
};

inline std::string InText(const Story& story) {
    std::ostringstream out;
    WriteStory(out, story);
    return out.str();
}

inline std::string Why(const Story& story, const std::string& identifier) {
    std::ostringstream out;
    WriteTasks(out, story, identifier);
    return out.str();
}

}  // namespace Kyr::Probe::Test
