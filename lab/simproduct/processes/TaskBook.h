// What the simulated product knows and does: the processes that it may end, the blocked hashes, and
// the log of the tasks that it was asked to do.
//
// A task is accepted first and its outcome noted in the task log, also when it is refused: whoever
// asked learns the outcome from the log.
//
// Threads: any.
// Ownership: processes and results must outlive this.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/simproduct/processes/LabProcesses.h"
#include "lab/simproduct/state/TaskResults.h"

namespace Kyr::Lab::SimProduct {

enum class TaskState { kDone, kRefused };

constexpr const char* NameOf(TaskState state) {
    return state == TaskState::kDone ? "done" : "refused";
}

/// Digests of an executable as a request names them. Letter case does not matter.
struct Hashes {
    std::optional<std::string> sha1;
    std::optional<std::string> sha256;

    /// True when one of them is the program's.
    bool MatchAny(const Program& program) const;
    /// True when none of them is another program's; an empty text says nothing.
    bool MatchAll(const Program& program) const;
};

class CTaskBook {
  public:
    /// The outcome of a task that has user data goes into `results` as well.
    CTaskBook(CLabProcesses& processes, CTaskResults& results, LineSink sink);

    /// Starts a program. Errors: std::runtime_error "blocked" when one of its hashes is blocked,
    /// and whatever keeps the program from starting.
    LabProcess Start(const std::string& name, const std::string& program,
                     const std::vector<std::string>& arguments);

    /// Takes over a process of `program` that a product before this one started. Errors:
    /// std::runtime_error when that number does not run that program.
    LabProcess Adopt(const std::string& name, const std::string& program, std::uint64_t pid);

    /// Ends a process that this lab started, unless a hash says that another program was meant.
    void KillProcess(const std::optional<std::string>& pid, const Hashes& hashes,
                     const std::string& userData);

    /// Keeps programs of these hashes from being started. The delete flag is told and nothing is
    /// deleted: the files of this computer are not the lab's.
    void BlockExecutable(const Hashes& hashes, bool deleteFile, const std::string& userData);

    /// The tasks so far, in their order, each as what the command `tasklog` answers.
    std::vector<CLine> TaskLog() const;

  private:
    void Note(const char* function, CLine did, TaskState state, const char* text,
              const std::string& userData);

    CLabProcesses& processes_;  // borrowed
    CTaskResults& results_;     // borrowed
    const LineSink sink_;

    mutable boost::mutex mutex_;
    std::vector<CLine> taskLog_;   // guarded by mutex_
    std::vector<Hashes> blocked_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
