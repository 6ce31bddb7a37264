#include "probe/explain/ProblemBook.h"

#include <algorithm>

namespace Kyr::Probe {

namespace {

constexpr std::size_t kMostProblems = 100;

// All is asked for behind the first one; in the hour until the second one it would be told again.
constexpr int kResendingsUntilOver = 2;

}  // namespace

CProblemBook::Number CProblemBook::Add(const Place& place, const std::string& cause,
                                       const std::string& next, Ending ending) {
    const auto known = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return entry.problem.cause == cause;
    });
    if (known != entries_.end()) {
        ++known->problem.times;
        known->problem.over = false;
        known->ending = ending;
        known->resendings = 0;
        return static_cast<Number>(known - entries_.begin());
    }
    if (entries_.size() < kMostProblems) {
        entries_.push_back({{place, 1, cause, next}, ending});
        return entries_.size() - 1;
    }
    return kMostProblems;
}

void CProblemBook::End(Number problem) {
    if (problem < entries_.size()) {
        entries_[problem].problem.over = true;
    }
}

void CProblemBook::End(Ending ending) {
    for (Entry& entry : entries_) {
        entry.problem.over = entry.problem.over || entry.ending == ending;
    }
}

void CProblemBook::Start() {
    End(Ending::kStart);
    // The connector has forgotten the policy: that it connects now says nothing of it any more.
    for (Entry& entry : entries_) {
        entry.ending = entry.ending == Ending::kSentAgain ? Ending::kPolicy : entry.ending;
    }
}

void CProblemBook::ConnectedBehindStart() {
    End(Ending::kAskedAgain);
    Connection();
}

void CProblemBook::Resend() {
    for (Entry& entry : entries_) {
        if (entry.ending == Ending::kAskedAgain && ++entry.resendings == kResendingsUntilOver) {
            entry.problem.over = true;
        }
    }
}

void CProblemBook::Connection() {
    End(Ending::kSentAgain);
}

std::vector<ProblemStory> CProblemBook::Take() {
    std::vector<ProblemStory> problems;
    for (Entry& entry : entries_) {
        problems.push_back(std::move(entry.problem));
    }
    entries_.clear();
    return problems;
}

}  // namespace Kyr::Probe
