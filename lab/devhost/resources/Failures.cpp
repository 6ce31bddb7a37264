#include "lab/devhost/resources/Failures.h"

#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

namespace {

/// In the order of the enumeration.
const std::vector<std::string>& FailureNames() {
    static const std::vector<std::string> names{"read", "write", "publish", "log"};
    return names;
}

const std::string& NameOf(Failure fault) {
    return FailureNames()[static_cast<std::size_t>(fault)];
}

}  // namespace

Failure ParseFailure(const std::string& name) {
    return static_cast<Failure>(PlaceOf(name, FailureNames(), "fault"));
}

CFailures::CFailures(LineSink events) : events_(std::move(events)) {}

void CFailures::Add(Failure fault, const FailureLimits& limits) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    active_[fault] = limits;
}

void CFailures::Mend(Failure fault) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    active_.erase(fault);
}

std::vector<std::string> CFailures::List() const {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    std::vector<std::string> texts;
    for (const auto& [fault, limits] : active_) {
        texts.push_back(NameOf(fault) +
                        (limits.count ? " for=" + std::to_string(*limits.count) : "") +
                        (limits.subject ? " of=" + *limits.subject : ""));
    }
    return texts;
}

bool CFailures::Take(Failure fault, const std::string& subject) {
    if (!CountDown(fault, subject)) {
        return false;
    }
    events_(CLine("failed").With("fault", NameOf(fault)).With("subject", subject));
    return true;
}

void CFailures::Meet(Failure fault, const std::string& subject) {
    if (Take(fault, subject)) {
        throw std::runtime_error("the host fails to " + NameOf(fault) + " on request");
    }
}

bool CFailures::CountDown(Failure fault, const std::string& subject) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    const auto found = active_.find(fault);
    if (found == active_.end() || found->second.subject.value_or(subject) != subject) {
        return false;
    }
    if (found->second.count && --*found->second.count == 0) {
        active_.erase(found);
    }
    return true;
}

}  // namespace Kyr::Lab::DevHost
