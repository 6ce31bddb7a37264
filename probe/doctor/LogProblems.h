// The connector's lines that tell of a problem, by the text that each has in it, with what it means
// and what to do.
//
// Threads: any; immutable.
#pragma once

#include <string>

namespace Kyr::Probe {

struct LogProblem {
    const char* text;  // as the connector writes it; a number may follow
    const char* meaning;
    const char* next;
};

/// The one that the line tells of, or null. The first that fits: what is more particular stands
/// first.
const LogProblem* FindLogProblem(const std::string& line);

/// The number that follows the problem's text in the line; empty when none does.
std::string NumberBehind(const LogProblem& problem, const std::string& line);

}  // namespace Kyr::Probe
