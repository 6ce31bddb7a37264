#include "lab/runner/life/LifeBook.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "lab/common/LineWriter.h"
#include "lab/runner/EventKinds.h"
#include "lab/runner/life/Tellers.h"

namespace Kyr::Lab::Runner {

namespace {

std::uint64_t StampNow() {
    return static_cast<std::uint64_t>(MachineStamp().count());
}

}  // namespace

CLifeBook::CLifeBook(const std::string& transcript, std::string title, std::string toldBy)
    : title_(std::move(title)),
      toldBy_(std::move(toldBy)),
      begin_(std::chrono::system_clock::now()),
      beginStamp_(StampNow()),
      transcript_(transcript, std::ios::binary) {
    if (!transcript_) {
        throw std::runtime_error("cannot write " + transcript);
    }
    transcript_ << "# " << toldBy_ << std::endl;
}

LifePage::Moment CLifeBook::Since(std::uint64_t stamp) const {
    return LifePage::Moment(stamp < beginStamp_ ? 0 : stamp - beginStamp_);
}

void CLifeBook::Begin(const std::string& actor, const std::string& command) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const LifePage::Moment now = Since(StampNow());
    std::vector<std::size_t>& own = processesOf_[actor];
    own.push_back(processes_.size());
    processes_.push_back({actor + " " + std::to_string(own.size()), now, now, ""});
    Tell(actor, now, CLine("command").With("text", command));
}

void CLifeBook::Tell(const std::string& actor, LifePage::Moment at, const CLine& line) {
    told_.push_back({at, actor, Process(actor), line});
}

std::size_t CLifeBook::Process(const std::string& actor) {
    const std::vector<std::size_t>& own = processesOf_[actor];
    return own.empty() ? 0 : own.back();
}

void CLifeBook::End(const std::string& actor, const std::string& how) {
    const std::lock_guard<std::mutex> lock(mutex_);
    LifePage::Process& process = processes_.at(Process(actor));
    if (process.end.empty()) {
        process.end = how;
        process.until = Since(StampNow());
        Tell(actor, process.until, CLine("end").With("text", process.name + " ended " + how));
    }
}

void CLifeBook::Command(const std::string& actor, const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Tell(actor, Since(StampNow()), CLine("command").With("text", line));
}

void CLifeBook::Event(const std::string& actor, const TimedLine& line) {
    const std::uint64_t stamp = line.stamp.value_or(StampNow());
    const std::lock_guard<std::mutex> lock(mutex_);
    transcript_ << line.time << ' ' << actor << ' ' << line.line.Text()
                << (line.stamp ? " at=" + std::to_string(*line.stamp) : "") << std::endl;
    Tell(actor, Since(stamp), line.line);
    CheckEvent(actor, line.line);
    counter_.Event(line.line);
}

void CLifeBook::Name(const std::string& key, const std::string& value, const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    given_.Name(key, value, name, told_.size());
}

void CLifeBook::Given(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    given_.text += text;
}

void CLifeBook::Step(const std::string& text) {
    const std::uint64_t now = StampNow();
    const std::lock_guard<std::mutex> lock(mutex_);
    steps_.push_back({Since(now), Since(now), text, LifePage::Step::End::kHeld, ""});
}

std::optional<LifePage::Moment> CLifeBook::StepDone(const std::string& failure) {
    const std::uint64_t now = StampNow();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (steps_.empty()) {
        if (failure.empty()) {
            return std::nullopt;
        }
        steps_.push_back({{}, {}, "before the first step", LifePage::Step::End::kHeld, ""});
    }
    LifePage::Step& step = steps_.back();
    step.until = Since(now);
    step.end = failure.empty() ? LifePage::Step::End::kHeld : LifePage::Step::End::kFailed;
    step.failure = failure;
    return step.until - step.from;
}

std::vector<LifePage::Step> CLifeBook::Steps() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return steps_;
}

Figures CLifeBook::Sum() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return counter_.Sum();
}

std::string CLifeBook::NeutralTranscript() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string text;
    for (const ToldLine& line : NeutralLines(told_, processes_, given_)) {
        text += line.text + "\n";
    }
    return text;
}

LifePage::Life CLifeBook::Life() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    LifePage::Life life;
    life.title = title_;
    life.toldBy = toldBy_;
    life.begin = begin_;
    life.processes = processes_;
    life.steps = steps_;
    const std::vector<std::size_t> places = TellEvents(told_, life);
    for (const ToldLine& line : NeutralLines(told_, processes_, given_)) {
        life.neutral.push_back({line.text, places.at(line.told)});
    }
    JoinExchanges(life);
    JoinMessages(life);
    TellTasks(life);
    TellRecords(life);
    TellOutages(life);
    for (const LifePage::Step& step : life.steps) {
        life.length = std::max(life.length, step.until);
    }
    if (!life.events.empty()) {
        life.length = std::max(life.length, life.events.back().at);
    }
    for (LifePage::Process& process : life.processes) {
        process.until = process.end.empty() ? life.length : process.until;
    }
    return life;
}

}  // namespace Kyr::Lab::Runner
