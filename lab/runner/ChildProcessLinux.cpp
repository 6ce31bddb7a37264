#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <boost/process/args.hpp>
#include <boost/process/env.hpp>
#include <boost/process/extend.hpp>
#include <boost/process/io.hpp>

#include "lab/runner/ChildProcess.h"

namespace Kyr::Lab::Runner {

namespace {

namespace process = boost::process;

/// Between fork and exec, where nothing may allocate: another thread may have held the heap's lock
/// when this process was copied. So it cannot be Boost.Process's limit_handles, which reads a
/// directory there.
struct CloseOtherHandles : process::extend::handler {
    template <typename Executor>
    void on_exec_setup(Executor& executor) const {
        if (::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
            executor.set_error({errno, std::system_category()}, "close_range");
        }
    }
};

}  // namespace

process::child StartChild(const std::string& program, const std::vector<std::string>& arguments,
                          const process::environment& environment, process::opstream& input,
                          process::ipstream& output, std::error_code& error) {
    std::signal(SIGPIPE, SIG_IGN);
    return process::child(program, process::args(arguments), environment,
                          process::std_in<input, process::std_out> output, CloseOtherHandles(),
                          error);
}

std::string EndText(const process::child& child) {
    const int status = child.native_exit_code();
    return WIFSIGNALED(status) ? "by SIG" + std::string(sigabbrev_np(WTERMSIG(status)))
                               : "with code " + std::to_string(child.exit_code());
}

}  // namespace Kyr::Lab::Runner
