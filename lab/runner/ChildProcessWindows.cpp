#include <mutex>

#include <boost/process/args.hpp>
#include <boost/process/env.hpp>
#include <boost/process/io.hpp>

#include "lab/runner/ChildProcess.h"

namespace Kyr::Lab::Runner {

namespace process = boost::process;

// A child gets what has been marked for it: its own two ends, which are closed here once it runs.
// In between, any other process that we start would get them too, and hide this one's end while it
// lives. So there is one start at a time.
process::child StartChild(const std::string& program, const std::vector<std::string>& arguments,
                          const process::environment& environment, process::opstream& input,
                          process::ipstream& output, std::error_code& error) {
    static std::mutex starting;
    const std::lock_guard<std::mutex> lock(starting);
    return process::child(program, process::args(arguments), environment,
                          process::std_in<input, process::std_out> output, error);
}

std::string EndText(const process::child& child) {
    return "with code " + std::to_string(child.exit_code());
}

}  // namespace Kyr::Lab::Runner
