#include <array>
#include <csignal>
#include <cstring>
#include <mutex>
#include <sys/wait.h>

#include <boost/process/args.hpp>
#include <boost/process/env.hpp>
#include <boost/process/extend.hpp>
#include <boost/process/handles.hpp>
#include <boost/process/io.hpp>

#include "lab/runner/ChildProcess.h"

namespace Kyr::Lab::Runner {

namespace {

namespace process = boost::process;

/// The handles that a child keeps when all others are closed. Boost.Process 1.81 forgets to name
/// the one that it has just made a pipe for standard output, and standard error.
struct StandardHandles : process::extend::handler, process::extend::uses_handles {
    static std::array<int, 3> get_used_handles() { return {0, 1, 2}; }
};

/// Boost.Process 1.81 gathers the handles to keep in one place for the whole process.
std::mutex oneAtATime;

}  // namespace

process::child StartChild(const std::string& program, const std::vector<std::string>& arguments,
                          const process::environment& environment, process::opstream& input,
                          process::ipstream& output, std::error_code& error) {
    const std::lock_guard<std::mutex> lock(oneAtATime);
    std::signal(SIGPIPE, SIG_IGN);
    return process::child(program, process::args(arguments), environment,
                          process::std_in<input, process::std_out> output, StandardHandles(),
                          process::limit_handles, error);
}

std::string EndText(const process::child& child) {
    const int status = child.native_exit_code();
    return WIFSIGNALED(status) ? "by SIG" + std::string(sigabbrev_np(WTERMSIG(status)))
                               : "with code " + std::to_string(child.exit_code());
}

}  // namespace Kyr::Lab::Runner
