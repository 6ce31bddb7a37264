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

void CFaults::Add(Fault fault, std::optional<std::uint64_t> count) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    left_[fault] = count;
}

void CFaults::Mend(Fault fault) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    left_.erase(fault);
}

std::vector<std::string> CFaults::List() const {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    std::vector<std::string> texts;
    for (const auto& [fault, left] : left_) {
        texts.push_back(NameOf(fault) + (left ? " for=" + std::to_string(*left) : ""));
    }
    return texts;
}

bool CFaults::Take(Fault fault, const std::string& subject) {
    if (!CountDown(fault)) {
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

bool CFaults::CountDown(Fault fault) {
    const boost::unique_lock<boost::mutex> lock(mutex_);
    const auto found = left_.find(fault);
    if (found == left_.end()) {
        return false;
    }
    if (found->second && --*found->second == 0) {
        left_.erase(found);
    }
    return true;
}

}  // namespace Kyr::Lab::DevHost
