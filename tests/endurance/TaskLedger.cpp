#include "tests/endurance/TaskLedger.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <boost/thread/lock_guard.hpp>

#include "host/Catalogue.h"

namespace Kyr::Endurance {

namespace Outcome = Common::Catalogue::Task;

namespace {

using Guard = boost::lock_guard<boost::mutex>;

// The number stands in the last group of a UUID.
constexpr char kBeginning[] = "00000000-0000-4000-8000-";
constexpr std::size_t kBeginningSize = sizeof kBeginning - 1;

}  // namespace

std::string CTaskLedger::Enter() {
    const Guard guard(mutex_);
    char number[13];
    std::snprintf(number, sizeof number, "%012zx", tasks_.size());
    tasks_.emplace_back();
    return std::string(kBeginning) + number;
}

void CTaskLedger::Reached(const std::string& identifier) {
    const Guard guard(mutex_);
    ++deeds_;
    if (Task* const task = Find(identifier)) {
        ++task->deeds;
    }
}

void CTaskLedger::HandedOut(const std::string& identifier) {
    const Guard guard(mutex_);
    if (Task* const task = Find(identifier)) {
        ++task->handedOut;
    }
}

void CTaskLedger::Reported(const std::string& identifier, std::int32_t status, std::uint64_t code,
                           std::int64_t severity) {
    const Guard guard(mutex_);
    Task* const task = Find(identifier);
    const bool willBeTriedAgain = status == Outcome::kNotFailed && code == Outcome::kFailedText &&
                                  severity == Outcome::kWarningSeverity;
    const bool givenUp = status == Outcome::kFailed && code == Outcome::kCancelledText &&
                         severity == Outcome::kErrorSeverity;
    failures_ += willBeTriedAgain || givenUp ? 1 : 0;
    ofNobody_ += task == nullptr ? 1 : 0;
    if (task != nullptr && !willBeTriedAgain) {
        ++(givenUp ? task->givenUp : task->told);
    }
}

CTaskLedger::Task* CTaskLedger::Find(const std::string& identifier) {
    return identifier.compare(0, kBeginningSize, kBeginning) == 0
               ? &tasks_.at(std::strtoull(identifier.c_str() + kBeginningSize, nullptr, 16))
               : nullptr;
}

std::uint64_t CTaskLedger::Deeds() const {
    const Guard guard(mutex_);
    return deeds_;
}

std::uint64_t CTaskLedger::Failures() const {
    const Guard guard(mutex_);
    return failures_;
}

std::uint64_t CTaskLedger::Lost() const {
    return Count([](const Task& task) { return task.deeds == 0 && task.givenUp == 0; });
}

std::uint64_t CTaskLedger::ToldTooOften() const {
    const std::uint64_t tooOften =
        Count([](const Task& task) { return task.givenUp > 1 || task.told > task.handedOut; });
    const Guard guard(mutex_);
    return tooOften + ofNobody_;
}

template <typename Condition>
std::uint64_t CTaskLedger::Count(const Condition& condition) const {
    const Guard guard(mutex_);
    return static_cast<std::uint64_t>(std::count_if(tasks_.begin(), tasks_.end(), condition));
}

}  // namespace Kyr::Endurance
