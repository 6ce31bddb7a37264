#include "lab/devhost/resources/Faults.h"

#include <stdexcept>
#include <utility>

namespace Kyr::Lab::DevHost {

namespace {

struct FaultRow {
    Fault fault;
    const char* name;
};

constexpr FaultRow kFaults[] = {
    {Fault::kRead, "read"},
    {Fault::kWrite, "write"},
    {Fault::kPublish, "publish"},
    {Fault::kLog, "log"},
};

std::string NameOf(Fault fault) {
    for (const FaultRow& row : kFaults) {
        if (row.fault == fault) {
            return row.name;
        }
    }
    return "";
}

}  // namespace

Fault ParseFault(const std::string& name) {
    std::string names;
    for (const FaultRow& row : kFaults) {
        if (name == row.name) {
            return row.fault;
        }
        names += std::string(names.empty() ? "" : ", ") + row.name;
    }
    throw std::invalid_argument("no such fault: " + name + "; there are " + names);
}

CFaults::CFaults(LineSink events) : events_(std::move(events)) {}

void CFaults::Add(Fault fault, const FaultLimits& limits) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    active_[fault] = limits;
}

void CFaults::Mend(Fault fault) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    active_.erase(fault);
}

std::vector<std::string> CFaults::List() const {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    std::vector<std::string> texts;
    for (const auto& [fault, limits] : active_) {
        texts.push_back(NameOf(fault) +
                        (limits.count ? " for=" + std::to_string(*limits.count) : "") +
                        (limits.subject ? " of=" + *limits.subject : ""));
    }
    return texts;
}

bool CFaults::Take(Fault fault, const std::string& subject) {
    if (!CountDown(fault, subject)) {
        return false;
    }
    events_(CLine("failed").With("fault", NameOf(fault)).With("subject", subject));
    return true;
}

void CFaults::Meet(Fault fault, const std::string& subject) {
    if (Take(fault, subject)) {
        throw std::runtime_error("the host fails to " + NameOf(fault) + " on request");
    }
}

bool CFaults::CountDown(Fault fault, const std::string& subject) {
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
