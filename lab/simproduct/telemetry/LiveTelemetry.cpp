#include "lab/simproduct/telemetry/LiveTelemetry.h"

#include <exception>
#include <set>

#include "lab/simproduct/processes/Program.h"

namespace Kyr::Lab::SimProduct {

namespace {

constexpr std::chrono::milliseconds kInterval(100);  // our choice

}  // namespace

CLiveTelemetry::CLiveTelemetry(IProcessTable& table, CRecordLists& lists,
                               boost::shared_ptr<Base::IClock> clock, LineSink sink)
    : table_(table), lists_(lists), clock_(std::move(clock)), sink_(std::move(sink)) {}

CLiveTelemetry::~CLiveTelemetry() {
    Stop();
}

void CLiveTelemetry::Start(const TelemetryScope& scope) {
    Stop();
    scope_ = scope;
    known_.clear();
    for (const ProcessId& id : table_.List()) {
        if (const auto facts = table_.Describe(id)) {
            known_[id] = {*facts, {}, true};
        }
    }
    thread_ = boost::thread([this] { Watch(); });
}

void CLiveTelemetry::Stop() {
    const boost::this_thread::disable_interruption noInterruption;
    thread_.interrupt();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void CLiveTelemetry::Watch() {
    try {
        for (;;) {
            clock_->SleepFor(kInterval);
            Look();
        }
    } catch (const std::exception& problem) {
        sink_(CLine("error").With("operation", "live").With("text", problem.what()));
    }
}

void CLiveTelemetry::Look() {
    std::set<ProcessId> present;
    for (const ProcessId& id : table_.List()) {
        present.insert(id);
        const auto found = known_.find(id);
        if (found == known_.end() || !found->second.recorded) {
            if (const auto facts = table_.Describe(id)) {
                Meet(id, *facts);
            }
        }
    }
    for (auto process = known_.begin(); process != known_.end();) {
        if (present.count(process->first) != 0) {
            ++process;
            continue;
        }
        if (!process->second.recorded) {
            Record(process->first, process->second, "start", "process-started");
        }
        Record(process->first, process->second, "end", "process-ended");
        process = known_.erase(process);
    }
}

bool CLiveTelemetry::IsWanted(const ProcessFacts& facts) const {
    return (scope_.program.empty() || std::filesystem::path(facts.name).stem() == scope_.program) &&
           (scope_.parentPid == 0 || facts.parentPid == scope_.parentPid);
}

void CLiveTelemetry::Meet(const ProcessId& id, const ProcessFacts& facts) {
    const auto [found, isNew] = known_.try_emplace(id);
    KnownProcess& process = found->second;
    process.facts = facts;
    process.sha256 = IsWanted(facts) ? HashOf(facts) : "";
    if (!isNew) {
        process.recorded = true;
        Record(id, process, "start", "process-started");
    }
}

void CLiveTelemetry::Record(const ProcessId& id, const KnownProcess& process, const char* type,
                            const char* action) {
    const ProcessFacts& facts = process.facts;
    if (!IsWanted(facts)) {
        return;
    }
    const std::uint64_t number = lists_.Append(RecordKind::kTelemetry, [&](std::uint64_t sequence) {
        const EcsEvent event{sequence, clock_->CalendarTime(), "event", "process", type, action};
        return ProductRecord{ProcessRecord(event, {id.pid, facts.parentPid, facts.name,
                                                   facts.executable, process.sha256, facts.userId}),
                             0};
    });
    sink_(CLine("observed")
              .With("action", action)
              .With("pid", id.pid)
              .With("name", facts.name)
              .With("number", number));
}

std::string CLiveTelemetry::HashOf(const ProcessFacts& facts) {
    if (facts.executable.empty()) {
        return {};
    }
    try {
        const CVersion version{facts.executable, std::filesystem::last_write_time(facts.image),
                               std::filesystem::file_size(facts.image)};
        const auto known = hashes_.find(version);
        return known != hashes_.end() ? known->second
                                      : hashes_[version] = ReadProgram(facts.image).sha256;
    } catch (const std::exception&) {
        return {};  // not ours to read, or gone
    }
}

}  // namespace Kyr::Lab::SimProduct
