#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "lab/simproduct/telemetry/ProcessTable.h"

namespace Kyr::Lab::SimProduct {

namespace {

std::string Folder(std::uint64_t pid) {
    return "/proc/" + std::to_string(pid);
}

struct Stat {
    std::string command;
    std::uint64_t parentPid = 0;
    std::uint64_t start = 0;
};

/// From "<pid> (<command>) <state> <parent> ...", in which the command may hold anything.
std::optional<Stat> ReadStat(std::uint64_t pid) {
    std::ifstream file(Folder(pid) + "/stat");
    std::string line;
    std::getline(file, line, '\0');
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos) {
        return std::nullopt;
    }
    Stat stat;
    stat.command = line.substr(open + 1, close - open - 1);
    std::istringstream rest(line.substr(close + 1));
    std::string state;
    rest >> state >> stat.parentPid;
    std::string skipped;
    for (int field = 5; field < 22; ++field) {  // the start is the 22nd, by proc(5)
        rest >> skipped;
    }
    rest >> stat.start;
    // A process that has ended and waits to be collected has ended for us.
    return rest && state != "Z" && state != "X" ? std::optional(stat) : std::nullopt;
}

std::string ReadUserId(std::uint64_t pid) {
    std::ifstream file(Folder(pid) + "/status");
    std::string word;
    while (file >> word) {
        if (word == "Uid:") {
            file >> word;
            return word;
        }
    }
    return {};
}

std::string ReadExecutable(std::uint64_t pid) {
    std::error_code error;
    std::string path = std::filesystem::read_symlink(Folder(pid) + "/exe", error).string();
    // What the system adds to the name of a file that is gone.
    const std::string gone = " (deleted)";
    if (path.size() > gone.size() &&
        path.compare(path.size() - gone.size(), gone.size(), gone) == 0) {
        path.resize(path.size() - gone.size());
    }
    return path;
}

class CLinuxProcessTable : public IProcessTable {
  public:
    std::vector<ProcessId> List() override {
        std::error_code error;
        std::vector<ProcessId> list;
        for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
            const std::string name = entry.path().filename().string();
            if (std::all_of(name.begin(), name.end(),
                            [](char c) { return c >= '0' && c <= '9'; })) {
                const std::uint64_t pid = std::stoull(name);
                if (const std::optional<Stat> stat = ReadStat(pid)) {
                    list.push_back({pid, stat->start});
                }
            }
        }
        if (error) {
            throw std::runtime_error("cannot list processes: " + error.message());
        }
        return list;
    }

    std::optional<ProcessFacts> Describe(const ProcessId& process) override {
        ProcessFacts facts;
        facts.executable = ReadExecutable(process.pid);
        facts.userId = ReadUserId(process.pid);
        facts.image = Folder(process.pid) + "/exe";
        // Last: while it is the same process now, all that was read was of this one.
        const std::optional<Stat> stat = ReadStat(process.pid);
        if (!stat || stat->start != process.start) {
            return std::nullopt;
        }
        facts.parentPid = stat->parentPid;
        facts.name = facts.executable.empty()
                         ? stat->command
                         : std::filesystem::path(facts.executable).filename().string();
        return facts;
    }
};

}  // namespace

std::unique_ptr<IProcessTable> MakeSystemProcessTable() {
    return std::make_unique<CLinuxProcessTable>();
}

}  // namespace Kyr::Lab::SimProduct
