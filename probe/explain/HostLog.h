// A host's log as lines of the connector, in the order in which they were written.
//
// Read are the lines of the lab's host (lab/common/LineProtocol.h), from its log file or from all
// that it tells, and of any other host what stands behind the connector's name in a line. Whatever
// a file has, nothing of it can do harm: what follows no form is counted and passed over.
//
// Threads: one.
// Errors: std::runtime_error for a file that cannot be read, with a text for people.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

namespace Kyr::Probe {

struct HostLine {
    std::size_t file = 0;    // which of those that were read
    std::size_t number = 0;  // from 1
    std::string time;        // as it stands in the line, of digits; empty: not known
    int level = 0;           // 1 to 4; 0: not known
    std::string text;        // of a line of the connector; else empty
    /// Of an event in which the lab's host names a task: its identifiers, outcome and status.
    std::map<std::string, std::string> fields;
    std::string kind;  // "log", or that event's
};

struct HostLog {
    std::vector<std::string> files;
    std::vector<HostLine> lines;
    std::size_t others = 0;  // lines that are not the connector's
    std::size_t tooLong = 0;
};

void ReadHostLog(std::istream& input, const std::string& name, HostLog& log);
void ReadHostLogFile(const std::string& path, HostLog& log);

/// Text of others as it can be shown: nothing but printable ASCII, and no more than `limit` of it.
std::string Shown(std::string_view text, std::size_t limit = 200);

}  // namespace Kyr::Probe
