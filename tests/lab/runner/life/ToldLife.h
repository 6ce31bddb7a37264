// A life of lines as a test writes them down.
#pragma once

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lab/runner/life/ToldEvents.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

/// A line is a moment in milliseconds, an actor, and an event: "5 host log level=2 text=one". Each
/// actor has one process; the host's is number 0, the product's 1.
inline std::vector<ToldEvent> Told(const std::vector<std::string>& lines) {
    std::vector<ToldEvent> told;
    for (const std::string& line : lines) {
        std::istringstream words(line);
        std::uint64_t at = 0;
        std::string actor;
        std::string event;
        words >> at >> actor;
        std::getline(words >> std::ws, event);
        told.push_back({std::chrono::milliseconds(at), actor, actor == "host" ? 0U : 1U,
                        ParseLine("00:00:00.000 " + event).line});
    }
    return told;
}

/// The events alone; what follows from them is up to the test.
inline LifePage::Life ToldLife(const std::vector<std::string>& lines) {
    LifePage::Life life;
    TellEvents(Told(lines), life);
    return life;
}

inline std::string Milliseconds(LifePage::Moment moment) {
    return std::to_string(moment / std::chrono::milliseconds(1));
}

}  // namespace Kyr::Lab::Runner
