#include "proofs/nth/Naming.h"

#include <algorithm>
#include <initializer_list>
#include <set>

namespace Kyr::Proofs::Nth {

namespace {

using Lines = std::vector<std::string>;
using Names = std::initializer_list<const char*>;

std::ptrdiff_t CountOf(const Lines& lines, const std::string& text) {
    return std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

bool IsWantOfMemory(const Fault& fault) {
    return fault.place == Place::kAllocation || fault.place == Place::kMalloc;
}

/// What lines call a failure at that place.
Names NamesOf(Place place) {
    static const Names memory = {"std::bad_alloc", "boost::thread_resource_error",
                                 "Send request failed with kelcomm error "};
    static const Names thread = {"boost::thread_resource_error"};
    static const Names lock = {"boost:: mutex constructor failed", "boost::condition_variable"};
    static const Names port = {
        "Send request failed with kelcomm error ", "Ping (CCCOMM_PING) failed with ",
        "KelcommChannelBuffer: Buffer is not full enough", "CKelcommChannel: Get broadcast failed"};
    static const Names area = {"CKelcommChannel: Get broadcast failed"};
    static const Names none = {};
    switch (place) {
        case Place::kAllocation:
        case Place::kMalloc:
            return memory;
        case Place::kThread:
            return thread;
        case Place::kLock:
            return lock;
        case Place::kNativeCall:
        case Place::kExchange:
            return port;
        case Place::kAreaCall:
            return area;
        default:
            return none;
    }
}

}  // namespace

std::vector<std::string> JudgeLines(const Fault& fault, const Effects& effects, const Dues& dues,
                                    const Lines& lines) {
    std::vector<std::string> problems;
    if (fault.uses == 0 || fault.place == Place::kLog) {
        return problems;
    }
    if (!IsWantOfMemory(fault)) {
        for (const std::string& text :
             std::set<std::string>(dues.lines.begin(), dues.lines.end())) {
            // A task and the event of its failure may meet the same want of memory: one line, then.
            const auto needed = text == "std::bad_alloc"
                                    ? 1
                                    : std::count(dues.lines.begin(), dues.lines.end(), text);
            if (CountOf(lines, text) < needed) {
                problems.push_back("too few lines say: " + text);
            }
        }
        if (effects.taskWasGivenUp && CountOf(lines, "Message task was canceled because ") == 0) {
            problems.emplace_back("no line says that a task was given up");
        }
        if (dues.threadIsMissing && CountOf(lines, "boost::thread_resource_error") == 0) {
            problems.emplace_back("no line says that there is no thread");
        }
        if (CountOf(lines, "Bad cast to Kyr::Common::Module::CResponse") < dues.wrongReplies) {
            problems.emplace_back("too few lines say that a message is no reply");
        }
    }
    const Names names = NamesOf(fault.place);
    const bool isOwed =
        effects.Any() && names.size() != 0 && (!IsWantOfMemory(fault) || fault.uses == 1);
    const bool isOther =
        effects.replyWasOverheard && CountOf(lines, "No such node (TULK.SECTION.STATUS)") != 0;
    if (isOwed && !isOther && std::none_of(names.begin(), names.end(), [&](const char* name) {
            return CountOf(lines, name) != 0;
        })) {
        problems.push_back(std::string("no line names the cause of") +
                           (effects.taskHasFailed ? ", a task that failed" : "") +
                           (effects.connectionWasLost ? ", a connection that was lost" : "") +
                           (effects.lookWasMissed ? ", a look that was missed" : "") +
                           (effects.changeCameLate ? ", a change that came late" : ""));
    }
    return problems;
}

}  // namespace Kyr::Proofs::Nth
