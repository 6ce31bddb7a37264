// A host's log as lines of the connector, in the order in which they were written: the log file of
// the lab's host or all that it tells, and the log of any other host.
//
// Whatever a file has, nothing of it can do harm: what follows no form is counted and passed over.
//
// Threads: one.
// Errors: std::runtime_error for a file that cannot be read, or begins as a database does, with a
// text for people.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "probe/explain/LineForms.h"

namespace Kyr::Probe {

struct HostLog {
    std::vector<std::string> files;
    std::vector<HostLine> lines;
    std::size_t others = 0;  // lines that are not the connector's
    std::size_t tooLong = 0;
};

void ReadHostLog(std::istream& input, const std::string& name, HostLog& log);
/// "-" is standard input.
void ReadHostLogFile(const std::string& path, HostLog& log);
/// Of a file that may be long: whole lines among its last `bytes`, numbered from the first of them.
void ReadHostLogEnd(const std::string& path, std::streamoff bytes, HostLog& log);

/// Text of others as it can be shown: nothing but printable ASCII, and no more than `limit` of it.
std::string Shown(std::string_view text, std::size_t limit = 200);

}  // namespace Kyr::Probe
