// The processes of this computer, as the operating system lists them. The platform's own file
// implements it.
//
// Threads: one at a time.
// Errors: std::runtime_error from List when the system gives no list. What the system does not tell
// of a process, for lack of rights or because it has ended, is empty.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace Kyr::Lab::SimProduct {

/// Tells a process from all others, also from a later one of the same number.
struct ProcessId {
    std::uint64_t pid = 0;
    std::uint64_t start = 0;  // when it started, in a unit of the system

    bool operator<(const ProcessId& other) const {
        return std::tie(pid, start) < std::tie(other.pid, other.start);
    }
};

struct ProcessFacts {
    std::uint64_t parentPid = 0;
    std::string name;
    std::string executable;
    std::string image;  // where its program can be read while it runs
    std::string userId;
};

class IProcessTable {
  public:
    virtual ~IProcessTable() = default;
    virtual std::vector<ProcessId> List() = 0;
    /// Nothing when the process has ended.
    virtual std::optional<ProcessFacts> Describe(const ProcessId& process) = 0;
};

/// The processes that this process may see.
std::unique_ptr<IProcessTable> MakeSystemProcessTable();

}  // namespace Kyr::Lab::SimProduct
