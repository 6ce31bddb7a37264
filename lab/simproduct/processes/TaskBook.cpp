#include "lab/simproduct/processes/TaskBook.h"

#include <algorithm>
#include <stdexcept>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimProduct {

namespace {

bool Given(const std::optional<std::string>& hash) {
    return hash && !hash->empty();
}

bool Same(const std::optional<std::string>& hash, const std::string& digest) {
    return Given(hash) && boost::iequals(*hash, digest, std::locale::classic());
}

std::optional<std::uint64_t> ParsePid(const std::optional<std::string>& text) {
    try {
        return text ? std::optional(ParseNumber(*text)) : std::nullopt;
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

}  // namespace

bool Hashes::MatchAny(const Program& program) const {
    return Same(sha1, program.sha1) || Same(sha256, program.sha256);
}

bool Hashes::MatchAll(const Program& program) const {
    return (!Given(sha1) || Same(sha1, program.sha1)) &&
           (!Given(sha256) || Same(sha256, program.sha256));
}

CTaskBook::CTaskBook(CLabProcesses& processes, CTaskResults& results, LineSink sink)
    : processes_(processes), results_(results), sink_(std::move(sink)) {}

LabProcess CTaskBook::Start(const std::string& name, const std::string& program,
                            const std::vector<std::string>& arguments) {
    const Program facts = ReadProgram(program);
    {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        if (std::any_of(blocked_.begin(), blocked_.end(),
                        [&](const Hashes& hashes) { return hashes.MatchAny(facts); })) {
            throw std::runtime_error("blocked");
        }
    }
    return processes_.Start(name, facts, arguments);
}

LabProcess CTaskBook::Adopt(const std::string& name, const std::string& program,
                            std::uint64_t pid) {
    return processes_.Adopt(name, ReadProgram(program), pid);
}

void CTaskBook::KillProcess(const std::optional<std::string>& pidText, const Hashes& hashes,
                            const std::string& userData) {
    const auto note = [&](TaskState state, const char* text) {
        Note({0, "KILL_PROCESS_BY_PID", userData, state, text},
             CLine("did").With("action", "kill").With("pid", pidText.value_or("")));
    };
    const std::optional<std::uint64_t> pid = ParsePid(pidText);
    const std::optional<LabProcess> process = pid ? processes_.Find(*pid) : std::nullopt;
    if (!pid) {
        note(TaskState::kRefused, "no process id");
    } else if (!process) {
        note(TaskState::kRefused, "not a lab process");
    } else if (!hashes.MatchAll(process->program)) {
        note(TaskState::kRefused, "another program has that hash");
    } else if (!processes_.Kill(*pid, [&] { note(TaskState::kDone, "killed"); })) {
        note(TaskState::kRefused, "ended before");
    }
}

void CTaskBook::BlockExecutable(const Hashes& hashes, bool deleteFile,
                                const std::string& userData) {
    const bool named = Given(hashes.sha1) || Given(hashes.sha256);
    if (named) {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        blocked_.push_back(hashes);
    }
    Note({0, "BLOCK_EXECUTABLE_BY_HASH", userData, named ? TaskState::kDone : TaskState::kRefused,
          named ? "blocked" : "no hash"},
         CLine("did")
             .With("action", "block")
             .With("sha1", hashes.sha1.value_or(""))
             .With("sha256", hashes.sha256.value_or(""))
             .With("delete", deleteFile ? "yes" : "no"));
}

std::vector<TaskLogEntry> CTaskBook::TaskLog() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return taskLog_;
}

void CTaskBook::Note(TaskLogEntry entry, CLine didLine) {
    sink_(didLine.With("outcome", NameOf(entry.state))
              .With("text", entry.text)
              .With("userdata", entry.userData));
    if (!entry.userData.empty()) {  // else nobody could tell whose task it was
        results_.Add({entry.state == TaskState::kDone ? kTaskDone : kTaskFailed, entry.userData});
    }
    const boost::lock_guard<boost::mutex> lock(mutex_);
    entry.number = taskLog_.size() + 1;
    taskLog_.push_back(std::move(entry));
}

}  // namespace Kyr::Lab::SimProduct
