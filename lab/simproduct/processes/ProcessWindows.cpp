#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <windows.h>

#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {

namespace {

class CWindowsProcess : public IProcess {
  public:
    CWindowsProcess(HANDLE process, DWORD pid) : process_(process), pid_(pid) {}
    ~CWindowsProcess() override { CloseHandle(process_); }
    CWindowsProcess(const CWindowsProcess&) = delete;
    CWindowsProcess& operator=(const CWindowsProcess&) = delete;

    std::uint64_t Pid() const override { return pid_; }

    // The handle keeps the number from naming another process.
    bool Kill() override {
        return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT &&
               TerminateProcess(process_, kKilled) != 0;
    }

    void Wait() override { WaitForSingleObject(process_, INFINITE); }

  private:
    const HANDLE process_;
    const DWORD pid_;
};

/// One argument as the C runtime of the started program reads it: in quotes, backslashes doubled
/// where a quote follows.
std::string Quoted(const std::string& argument) {
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '"') {
            quoted.append(backslashes + 1, '\\');
        }
        backslashes = c == '\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, '\\');
    return quoted + '"';
}

class CWindowsLauncher : public IProcessLauncher {
  public:
    std::unique_ptr<IProcess> Launch(const std::string& program,
                                     const std::vector<std::string>& arguments) override {
        std::string commandLine = Quoted(program);
        for (const std::string& argument : arguments) {
            commandLine += ' ' + Quoted(argument);
        }
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        // It inherits no handle of ours and has no console.
        if (!CreateProcessA(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                            DETACHED_PROCESS, nullptr, nullptr, &startup, &started)) {
            const auto error = static_cast<int>(GetLastError());
            throw std::runtime_error("cannot start " + program + ": " +
                                     std::system_category().message(error));
        }
        CloseHandle(started.hThread);
        return std::make_unique<CWindowsProcess>(started.hProcess, started.dwProcessId);
    }

    std::unique_ptr<IProcess> Adopt(const std::string& program, std::uint64_t pid) override {
        const auto number = static_cast<DWORD>(pid);
        constexpr DWORD kRights =
            SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION;
        const HANDLE handle = number == pid ? OpenProcess(kRights, FALSE, number) : nullptr;
        if (handle == nullptr) {
            throw std::runtime_error("no process " + std::to_string(pid));
        }
        auto process = std::make_unique<CWindowsProcess>(handle, number);
        wchar_t path[MAX_PATH];
        DWORD length = MAX_PATH;
        std::error_code error;
        // A process that has ended can still be opened while anybody holds a handle of it.
        if (WaitForSingleObject(handle, 0) != WAIT_TIMEOUT ||
            !QueryFullProcessImageNameW(handle, 0, path, &length) ||
            !std::filesystem::equivalent(std::filesystem::path(path, path + length), program,
                                         error)) {
            throw std::runtime_error("process " + std::to_string(pid) + " does not run " + program);
        }
        return process;
    }
};

}  // namespace

std::unique_ptr<IProcessLauncher> MakeSystemLauncher() {
    return std::make_unique<CWindowsLauncher>();
}

std::uint64_t OwnProcessId() {
    return GetCurrentProcessId();
}

}  // namespace Kyr::Lab::SimProduct
