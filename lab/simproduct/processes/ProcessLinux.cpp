#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "lab/simproduct/processes/Process.h"

// This header of the C library forgets to say that it speaks of C functions.
extern "C" {
#include <sys/pidfd.h>
}

namespace Kyr::Lab::SimProduct {

namespace {

/// Known by a descriptor, since its number may be given away.
class CLinuxProcess : public IProcess {
  public:
    CLinuxProcess(pid_t pid, int descriptor) : pid_(pid), descriptor_(descriptor) {}
    ~CLinuxProcess() override { close(descriptor_); }
    CLinuxProcess(const CLinuxProcess&) = delete;
    CLinuxProcess& operator=(const CLinuxProcess&) = delete;

    std::uint64_t Pid() const override { return static_cast<std::uint64_t>(pid_); }

    bool Kill() override {
        return !HasEnded(0) && pidfd_send_signal(descriptor_, SIGKILL, nullptr, 0) == 0;
    }

    void Wait() override {
        while (!HasEnded(-1)) {
        }
        // Of our own children an entry stays until here.
        waitid(P_PIDFD, static_cast<id_t>(descriptor_), nullptr, WEXITED);
    }

  private:
    /// Waits at most that many milliseconds, without end when negative.
    bool HasEnded(int milliseconds) const {
        pollfd ended{descriptor_, POLLIN, 0};
        return poll(&ended, 1, milliseconds) == 1;
    }

    const pid_t pid_;
    const int descriptor_;
};

/// What a lab process starts with: no input, no output, no signal blocked or ignored.
class CSpawnSettings {
  public:
    CSpawnSettings() {
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        sigset_t signals;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigaddset(&signals, SIGPIPE);
        sigaddset(&signals, SIGXFSZ);
        posix_spawnattr_setsigdefault(&attributes, &signals);
    }
    ~CSpawnSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
    CSpawnSettings(const CSpawnSettings&) = delete;
    CSpawnSettings& operator=(const CSpawnSettings&) = delete;

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
};

class CLinuxLauncher : public IProcessLauncher {
  public:
    std::unique_ptr<IProcess> Launch(const std::string& program,
                                     const std::vector<std::string>& arguments) override {
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& argument : arguments) {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        const CSpawnSettings settings;
        pid_t pid = 0;
        const int error = posix_spawn(&pid, program.c_str(), &settings.files, &settings.attributes,
                                      argv.data(), environ);
        if (error != 0) {
            throw std::runtime_error("cannot start " + program + ": " +
                                     std::generic_category().message(error));
        }
        const int descriptor = pidfd_open(pid, 0);
        if (descriptor < 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            throw std::runtime_error("cannot watch " + program);
        }
        return std::make_unique<CLinuxProcess>(pid, descriptor);
    }

    std::unique_ptr<IProcess> Adopt(const std::string& program, std::uint64_t pid) override {
        const auto number = static_cast<pid_t>(pid);
        const int descriptor =
            number > 0 && static_cast<std::uint64_t>(number) == pid ? pidfd_open(number, 0) : -1;
        if (descriptor < 0) {
            throw std::runtime_error("no process " + std::to_string(pid));
        }
        auto process = std::make_unique<CLinuxProcess>(number, descriptor);
        // Looked at while the descriptor holds the process: the number still means the same one.
        std::error_code error;
        const auto running =
            std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
        if (error || !std::filesystem::equivalent(running, program, error)) {
            throw std::runtime_error("process " + std::to_string(pid) + " does not run " + program);
        }
        return process;
    }
};

}  // namespace

std::unique_ptr<IProcessLauncher> MakeSystemLauncher() {
    return std::make_unique<CLinuxLauncher>();
}

std::uint64_t OwnProcessId() {
    return static_cast<std::uint64_t>(getpid());
}

}  // namespace Kyr::Lab::SimProduct
