// Processes that the lab starts. The platform's own file implements the launcher.
//
// Threads: Wait by one thread; Kill by any thread at any time, also while Wait waits or after.
// Errors: std::runtime_error when a program cannot be started.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Kyr::Lab::SimProduct {

class IProcess {
  public:
    virtual ~IProcess() = default;

    virtual std::uint64_t Pid() const = 0;

    /// Ends the process at once. False when it had ended before.
    virtual bool Kill() = 0;

    /// Blocks until the process has ended.
    virtual void Wait() = 0;
};

class IProcessLauncher {
  public:
    virtual ~IProcessLauncher() = default;

    /// Starts `program` with `arguments`, with nothing to read and nowhere to write.
    virtual std::unique_ptr<IProcess> Launch(const std::string& program,
                                             const std::vector<std::string>& arguments) = 0;

    /// Takes over a process that runs `program` and was started by somebody else. Errors:
    /// std::runtime_error when no process of that number runs that program.
    virtual std::unique_ptr<IProcess> Adopt(const std::string& program, std::uint64_t pid) = 0;
};

/// The launcher of this platform.
std::unique_ptr<IProcessLauncher> MakeSystemLauncher();

std::uint64_t OwnProcessId();

}  // namespace Kyr::Lab::SimProduct
