// The forms in which a line of the connector stands in a host's log: that of the lab's host
// (lab/common/LineProtocol.h), and, of any other host, the connector's text behind the
// connector's name.
//
// Threads: any. Errors: none; a line of somebody else is none of ours.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace Kyr::Probe {

struct HostLine {
    std::size_t file = 0;                // which of those that were read
    std::size_t number = 0;              // from 1
    std::string time;                    // as it stands in the line, of digits; empty: not known
    std::optional<std::uint64_t> stamp;  // nanoseconds of the machine's clock
    int level = 0;                       // 1 to 4; 0: not known
    std::string text;                    // of a line of the connector; else empty
    /// Of an event in which the lab's host names a task: its identifiers, outcome and status.
    std::map<std::string, std::string> fields;
    std::string kind;  // "log", or that event's
};

/// File and number are left to who reads. A line that has nothing of the connector's is none.
std::optional<HostLine> ReadHostLine(const std::string& line);

}  // namespace Kyr::Probe
