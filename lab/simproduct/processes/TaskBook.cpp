#include "lab/simproduct/processes/TaskBook.h"

#include <algorithm>
#include <stdexcept>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"
#include "lab/common/Console.h"

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
        Note("KILL_PROCESS_BY_PID",
             CLine("did").With("action", "kill").With("pid", pidText.value_or("")), state, text,
             userData);
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
    Note("BLOCK_EXECUTABLE_BY_HASH",
         CLine("did")
             .With("action", "block")
             .With("sha1", hashes.sha1.value_or(""))
             .With("sha256", hashes.sha256.value_or(""))
             .With("delete", deleteFile ? "yes" : "no"),
         named ? TaskState::kDone : TaskState::kRefused, named ? "blocked" : "no hash", userData);
}

std::vector<CLine> CTaskBook::TaskLog() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return taskLog_;
}

void CTaskBook::Note(const char* function, CLine did, TaskState state, const char* text,
                     const std::string& userData) {
    sink_(did.With("outcome", NameOf(state)).With("text", text).With("userdata", userData));
    if (!userData.empty()) {  // else nobody could tell whose task it was
        results_.Add({state == TaskState::kDone ? kTaskDone : kTaskFailed, userData});
    }
    const boost::lock_guard<boost::mutex> lock(mutex_);
    taskLog_.push_back(AnswerTo("tasklog")
                           .With("number", taskLog_.size() + 1)
                           .With("function", function)
                           .With("state", NameOf(state))
                           .With("text", text)
                           .With("userdata", userData));
}

}  // namespace Kyr::Lab::SimProduct
