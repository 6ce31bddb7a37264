#include "tests/endurance/TaskLedger.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Endurance {

namespace {

using Guard = boost::lock_guard<boost::mutex>;

// The number stands in the last group of a UUID.
constexpr char kBeginning[] = "00000000-0000-4000-8000-";
constexpr std::size_t kBeginningSize = sizeof kBeginning - 1;

}  // namespace

std::string CTaskLedger::Enter() {
    const Guard guard(mutex_);
    char number[13];
    std::snprintf(number, sizeof number, "%012zx", heardOf_.size());
    heardOf_.push_back(false);
    return std::string(kBeginning) + number;
}

void CTaskLedger::Reached(const std::string& identifier) {
    const Guard guard(mutex_);
    ++deeds_;
    MarkHeardOf(identifier);
}

void CTaskLedger::ReportedFailed(const std::string& identifier) {
    const Guard guard(mutex_);
    ++reports_;
    MarkHeardOf(identifier);
}

void CTaskLedger::MarkHeardOf(const std::string& identifier) {
    if (identifier.compare(0, kBeginningSize, kBeginning) == 0) {
        heardOf_.at(std::strtoull(identifier.c_str() + kBeginningSize, nullptr, 16)) = true;
    }
}

std::uint64_t CTaskLedger::Tasks() const {
    const Guard guard(mutex_);
    return heardOf_.size();
}

std::uint64_t CTaskLedger::Deeds() const {
    const Guard guard(mutex_);
    return deeds_;
}

std::uint64_t CTaskLedger::Reports() const {
    const Guard guard(mutex_);
    return reports_;
}

std::uint64_t CTaskLedger::Lost() const {
    const Guard guard(mutex_);
    return static_cast<std::uint64_t>(std::count(heardOf_.begin(), heardOf_.end(), false));
}

}  // namespace Kyr::Endurance
