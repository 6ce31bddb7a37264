#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <filesystem>
#include <stdexcept>
#include <windows.h>

// These rely on the one above.
#include <sddl.h>
#include <tlhelp32.h>

#include "lab/simproduct/telemetry/ProcessTable.h"

namespace Kyr::Lab::SimProduct {

namespace {

class CHandle {
  public:
    explicit CHandle(HANDLE handle) : handle_(handle) {}
    ~CHandle() {
        if (*this) {
            CloseHandle(handle_);
        }
    }
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;

    explicit operator bool() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }

  private:
    const HANDLE handle_;
};

HANDLE Open(std::uint64_t pid) {
    return OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid));
}

/// When the process was made; 0 when the system does not say.
std::uint64_t StartOf(HANDLE process) {
    FILETIME start{};
    FILETIME end{};
    FILETIME kernel{};
    FILETIME user{};
    if (!GetProcessTimes(process, &start, &end, &kernel, &user)) {
        return 0;
    }
    return std::uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime;
}

std::string ExecutableOf(HANDLE process) {
    wchar_t path[MAX_PATH];
    DWORD length = MAX_PATH;
    if (!QueryFullProcessImageNameW(process, 0, path, &length)) {
        return {};
    }
    return std::filesystem::path(path, path + length).u8string();
}

/// The text form of the user's security identifier.
std::string UserOf(HANDLE process) {
    HANDLE opened = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &opened)) {
        return {};
    }
    const CHandle token(opened);
    alignas(TOKEN_USER) char buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD length = 0;
    LPSTR text = nullptr;
    if (!GetTokenInformation(token.Get(), TokenUser, buffer, sizeof buffer, &length) ||
        !ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid, &text)) {
        return {};
    }
    const std::string user = text;
    LocalFree(text);
    return user;
}

class CWindowsProcessTable : public IProcessTable {
  public:
    std::vector<ProcessId> List() override {
        std::vector<ProcessId> list;
        for (const PROCESSENTRY32W& entry : Snapshot()) {
            const CHandle process(Open(entry.th32ProcessID));
            list.push_back({entry.th32ProcessID, process ? StartOf(process.Get()) : 0});
        }
        return list;
    }

    std::optional<ProcessFacts> Describe(const ProcessId& id) override {
        for (const PROCESSENTRY32W& entry : Snapshot()) {
            if (entry.th32ProcessID != id.pid) {
                continue;
            }
            const CHandle process(Open(id.pid));
            if ((process ? StartOf(process.Get()) : 0) != id.start) {
                return std::nullopt;
            }
            ProcessFacts facts;
            facts.parentPid = entry.th32ParentProcessID;
            facts.name = std::filesystem::path(entry.szExeFile).u8string();
            if (process) {
                facts.executable = ExecutableOf(process.Get());
                facts.image = facts.executable;
                facts.userId = UserOf(process.Get());
            }
            return facts;
        }
        return std::nullopt;
    }

  private:
    static std::vector<PROCESSENTRY32W> Snapshot() {
        const CHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
        PROCESSENTRY32W entry{};
        entry.dwSize = sizeof entry;
        if (!snapshot || !Process32FirstW(snapshot.Get(), &entry)) {
            throw std::runtime_error("cannot list processes");
        }
        std::vector<PROCESSENTRY32W> entries;
        do {
            entries.push_back(entry);
        } while (Process32NextW(snapshot.Get(), &entry));
        return entries;
    }
};

}  // namespace

std::unique_ptr<IProcessTable> MakeSystemProcessTable() {
    return std::make_unique<CWindowsProcessTable>();
}

}  // namespace Kyr::Lab::SimProduct
