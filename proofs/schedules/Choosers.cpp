#include "proofs/schedules/Choosers.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace Kyr::Proofs::Schedules {

CRecordingChooser::CRecordingChooser() {
    entries_.reserve(100000);  // nothing is allocated while the module's allocations are counted
}

void CRecordingChooser::Begin() {
    entries_.clear();
    decisions_ = 0;
    fingerprint_ = 0xCBF29CE484222325;
}

std::size_t CRecordingChooser::Choose(const std::vector<Option>& options) {
    const std::size_t choice = Decide(options);
    if (choice != 0) {
        entries_.push_back(
            {static_cast<std::uint32_t>(decisions_), static_cast<std::uint32_t>(choice)});
        fingerprint_ = (fingerprint_ ^ (decisions_ * 64 + choice)) * 0x9E3779B97F4A7C15;
        fingerprint_ ^= fingerprint_ >> 29;
    }
    ++decisions_;
    return choice;
}

std::string CRecordingChooser::Name() const {
    std::string name;
    for (const Entry& entry : entries_) {
        name += (name.empty() ? "" : ",") + std::to_string(entry.decision) + ":" +
                std::to_string(entry.choice);
    }
    return name.empty() ? "0:0" : name;
}

// Every schedule.

CEveryChooser::CEveryChooser(int mostPreemptions) : mostPreemptions_(mostPreemptions) {
    path_.reserve(100000);
}

void CEveryChooser::Begin() {
    CRecordingChooser::Begin();
    depth_ = 0;
    preemptions_ = 0;
}

std::size_t CEveryChooser::Decide(const std::vector<Option>& options) {
    // Those that preempt stand last.
    const auto affordable = preemptions_ < mostPreemptions_
                                ? options.size()
                                : static_cast<std::size_t>(std::count_if(
                                      options.begin(), options.end(),
                                      [](const Option& option) { return !option.preempts; }));
    if (depth_ == path_.size()) {
        path_.push_back({0, static_cast<std::uint32_t>(affordable)});
    }
    const Node& node = path_[depth_++];
    lost_ = lost_ || node.count != affordable;
    const std::size_t choice = node.choice < options.size() ? node.choice : 0;
    preemptions_ += options[choice].preempts ? 1 : 0;
    return choice;
}

bool CEveryChooser::Advance() {
    while (!path_.empty() && path_.back().choice + 1 == path_.back().count) {
        path_.pop_back();
    }
    if (path_.empty()) {
        return false;
    }
    ++path_.back().choice;
    return true;
}

// Drawn schedules.

namespace {

// Of so many waits one ends without a reason.
constexpr std::uint64_t kWaits = 3;

bool IsAboutAWaitForNothing(const std::vector<Option>& options) {
    return options.size() == 2 && options[0].thread == options[1].thread && !options[1].byTime;
}

}  // namespace

CRandomChooser::CRandomChooser(std::uint64_t seed, std::uint64_t usualDecisions)
    : random_(seed), usualDecisions_(std::max<std::uint64_t>(usualDecisions, 2)) {}

void CRandomChooser::Begin() {
    CRecordingChooser::Begin();
    decision_ = 0;
    byPriority_ = schedules_++ % 2 == 0;
    rarity_ = std::uint64_t{1} << (1 + Draw(6));
    changes_.fill(UINT64_MAX);
    const std::uint64_t count = 1 + Draw(changes_.size());
    for (std::uint64_t change = 0; change < count; ++change) {
        changes_[change] = Draw(usualDecisions_);
    }
    for (std::uint64_t& priority : priorities_) {
        priority = UINT32_MAX + Draw(UINT32_MAX);
    }
    lowest_ = UINT32_MAX;
}

std::size_t CRandomChooser::Decide(const std::vector<Option>& options) {
    const std::uint64_t decision = decision_++;
    if (IsAboutAWaitForNothing(options)) {
        return Draw(kWaits) == 0 ? 1 : 0;
    }
    if (byPriority_) {
        if (std::find(changes_.begin(), changes_.end(), decision) != changes_.end()) {
            priorities_[options.front().thread] = lowest_--;
        }
        return ByPriority(options);
    }
    const bool mayGoOn = options.size() > 1 && options[1].preempts;
    return mayGoOn && Draw(rarity_) != 0 ? 0 : Draw(options.size());
}

// Time passes by itself seldom, and not by the priority of who waits for it.
std::size_t CRandomChooser::ByPriority(const std::vector<Option>& options) {
    if (options.back().byTime && options.back().preempts && Draw(usualDecisions_) < 2) {
        return options.size() - 1;
    }
    std::size_t best = 0;
    for (std::size_t index = 1; index < options.size(); ++index) {
        const Option& option = options[index];
        if (!(option.byTime && option.preempts) &&
            priorities_[option.thread] > priorities_[options[best].thread]) {
            best = index;
        }
    }
    return best;
}

// One schedule again.

CReplayChooser::CReplayChooser(const std::string& name) {
    std::istringstream text(name);
    for (std::string entry; std::getline(text, entry, ',');) {
        const std::size_t colon = entry.find(':');
        if (colon == std::string::npos) {
            throw std::runtime_error("no schedule: " + name);
        }
        choices_.emplace_back(std::stoull(entry.substr(0, colon)),
                              std::stoull(entry.substr(colon + 1)));
    }
}

void CReplayChooser::Begin() {
    CRecordingChooser::Begin();
    next_ = 0;
    decision_ = 0;
}

std::size_t CReplayChooser::Decide(const std::vector<Option>& options) {
    const std::uint64_t decision = decision_++;
    if (next_ == choices_.size() || choices_[next_].first != decision) {
        return 0;
    }
    return std::min(choices_[next_++].second, options.size() - 1);
}

}  // namespace Kyr::Proofs::Schedules
