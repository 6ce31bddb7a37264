// `ovprobe explain`: the story in a host's log.
//
// Threads: one.
// Errors: std::runtime_error for a file that cannot be read, or a page that cannot be written.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Kyr::Probe {

struct ExplainOptions {
    std::vector<std::string>
        logs;            // files in the order in which they were written; "-" is standard input
    std::string task;    // an identifier; empty: all that there is
    std::string report;  // a page to be made; empty: none
    bool json = false;
};

/// True: nothing is wrong; with a task: it is done, or with the product.
bool Explain(const ExplainOptions& options, std::ostream& out);

}  // namespace Kyr::Probe
