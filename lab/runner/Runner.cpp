#include "lab/runner/Runner.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/runner/EventKinds.h"
#include "lab/runner/Interruption.h"
#include "lab/runner/ReadFile.h"

namespace Kyr::Lab::Runner {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick(100);  // how often a countdown is drawn anew
constexpr std::chrono::milliseconds kQuitPatience = std::chrono::seconds(10);

/// Ends the scenario that is being played.
class CFailedExpectation : public std::runtime_error {
  public:
    explicit CFailedExpectation(const std::string& what, std::vector<std::string> details = {})
        : std::runtime_error(what), details_(std::move(details)) {}
    /// What helps to see why, a line each.
    const std::vector<std::string>& Details() const { return details_; }

  private:
    std::vector<std::string> details_;
};

std::chrono::milliseconds Since(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

std::chrono::milliseconds Until(Clock::time_point end) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
}

template <typename Kind>
bool Is(const Statement& statement, const std::string& actor) {
    const auto* const one = std::get_if<Kind>(&statement);
    return one != nullptr && one->actor == actor;
}

}  // namespace

struct CRunner::Cast {
    explicit Cast(const Scenario& played) : scenario(played) {}

    /// Whether the process may have ended by now: the next statement about its life says so.
    bool MayHaveEnded(const std::string& actor) const;

    const Scenario& scenario;  // borrowed
    std::size_t at = 0;        // the statement that is being played
    std::size_t line = 0;      // where it stands

    std::map<std::string, Member> members;
    std::vector<std::pair<std::string, std::string>> variables;

    std::size_t stepNumber = 0;
    std::optional<StepResult> step;
    Clock::time_point stepStart;
    std::size_t expected = 0;            // how many expectations of the step have held
    std::optional<std::uint64_t> stamp;  // of the event that was expected last
    std::vector<std::pair<std::size_t, NeverStatement>> only;  // of the step, with their lines

    Clock::time_point countdownEnd;
    std::string countdownText;
};

bool CRunner::Cast::MayHaveEnded(const std::string& actor) const {
    for (std::size_t next = at; next < scenario.statements.size(); ++next) {
        const Statement& statement = scenario.statements[next].statement;
        if (Is<GoneStatement>(statement, actor)) {
            return true;
        }
        if (Is<StartStatement>(statement, actor) || Is<KillStatement>(statement, actor) ||
            Is<QuitStatement>(statement, actor)) {
            return false;
        }
    }
    return false;
}

CRunner::CRunner(RunnerPaths paths, CScreen& screen)
    : paths_(std::move(paths)),
      screen_(screen),
      transcript_((boost::filesystem::path(paths_.work) / "transcript.txt").string(),
                  paths_.heading),
      book_(paths_.heading) {
    // The hosts append to it.
    std::ofstream(HostLog(), std::ios::app) << "# " << paths_.heading << '\n';
}

CRunner::~CRunner() = default;

bool CRunner::Run(const Scenario& scenario) {
    cast_ = std::make_unique<Cast>(scenario);
    cast_->variables.emplace_back("folder", paths_.work);
    screen_.Title(scenario.title);
    book_.Title(scenario.title);
    bool passed = true;
    try {
        for (; cast_->at < scenario.statements.size(); ++cast_->at) {
            const auto& [line, statement] = scenario.statements[cast_->at];
            if (std::holds_alternative<StepStatement>(statement)) {
                FinishStep();
            }
            cast_->line = line;
            RefuseUnaskedEnds();
            std::visit([this](const auto& one) { Do(one); }, statement);
        }
        RefuseUnaskedEnds();
        FinishStep();
        CompareTranscript();
    } catch (const std::exception& e) {
        passed = false;
        const auto* const failed = dynamic_cast<const CFailedExpectation*>(&e);
        const std::string failure = "line " + std::to_string(cast_->line) + ": " +
                                    (CInterruption::Asked() ? "interrupted" : e.what());
        screen_.Failed(failure, failed == nullptr || CInterruption::Asked()
                                    ? std::vector<std::string>()
                                    : failed->Details());
        if (!cast_->step) {
            cast_->step = StepResult{scenario.title, "before the first step", true, "", {}};
            cast_->stepStart = Clock::now();
        }
        cast_->step->passed = false;
        cast_->step->failure = failure;
    }
    CloseStep();
    cast_.reset();
    return passed;
}

void CRunner::FinishStep() {
    for (const auto& [actor, member] : cast_->members) {
        RefuseUnexpected(actor, member);
    }
    cast_->only.clear();
    cast_->stamp.reset();
}

void CRunner::RefuseUnexpected(const std::string& actor, const Member& member) {
    if (!member.actor) {
        return;
    }
    Refuse(actor, member, {"error", {}});
    for (const auto& [line, only] : cast_->only) {
        if (only.actor == actor) {
            cast_->line = line;
            for (const EventPattern& pattern : only.patterns) {
                Refuse(actor, member, Filled(pattern));
            }
        }
    }
}

void CRunner::Refuse(const std::string& actor, const Member& member, const EventPattern& pattern) {
    if (const auto found = member.Find(pattern, {})) {
        throw CFailedExpectation("the " + actor + " said: " + Text(pattern),
                                 {"it was: " + member.actor->EventAt(*found).line.Text()});
    }
}

void CRunner::RefuseUnaskedEnds() {
    if (CInterruption::Asked()) {
        throw CFailedExpectation("interrupted");
    }
    for (auto& [actor, member] : cast_->members) {
        if (!member.actor || member.endIsKnown || cast_->MayHaveEnded(actor)) {
            continue;
        }
        if (member.actor->AwaitEnd({})) {
            throw CFailedExpectation("the " + actor + " has ended unasked, " +
                                     member.actor->EndText());
        }
    }
}

void CRunner::CloseStep() {
    if (cast_->step) {
        cast_->step->took = Since(cast_->stepStart);
        if (cast_->step->passed) {
            screen_.StepPassed(cast_->expected, cast_->step->took);
        }
        book_.StepDone(*cast_->step);
        results_.push_back(*cast_->step);
        cast_->step.reset();
    }
}

void CRunner::CompareTranscript() {
    if (paths_.transcript.empty()) {
        return;
    }
    Do(StepStatement{"Bus messages, log lines and wire bytes are those of every run"});
    cast_->members.clear();  // every process has told all that it has to tell
    const std::string told = neutral_.Text();
    const std::string own = (boost::filesystem::path(paths_.work) / "neutral.txt").string();
    std::ofstream(own, std::ios::binary) << told;
    const std::string difference = FirstDifference(ReadFile(paths_.transcript), told);
    if (!difference.empty()) {
        throw CFailedExpectation(own + " differs from " + paths_.transcript + ": " + difference);
    }
    screen_.Passed("the transcript is that of every run");
}

void CRunner::Do(const StepStatement& step) {
    CloseStep();
    cast_->step = StepResult{cast_->scenario.title, step.text, true, "", {}};
    cast_->expected = 0;
    cast_->stepStart = Clock::now();
    for (auto& [name, member] : cast_->members) {
        member.BeginStep();
    }
    screen_.Step(++cast_->stepNumber, step.text);
    book_.Step(step.text);
}

void CRunner::Do(const SayStatement& say) {
    screen_.Say(say.text);
}

std::string CRunner::HostLog() const {
    return (boost::filesystem::path(paths_.work) / "host.log").string();
}

std::string CRunner::ProgramFile(const std::string& name) const {
    return (boost::filesystem::path(paths_.programs) / (name + KYR_PROGRAM_SUFFIX)).string();
}

std::string CRunner::ProgramPath(const std::string& actor) const {
    const std::string program = actor == "product" ? paths_.product : "devhost";
    return ProgramFile(program);
}

std::vector<std::string> CRunner::Arguments(const StartStatement& start) const {
    std::vector<std::string> arguments;
    if (start.actor == "host") {
        arguments.push_back("--library=" + paths_.library);
        arguments.push_back("--database=" +
                            (boost::filesystem::path(paths_.work) / "host.db").string());
        arguments.push_back("--log=" + HostLog());
        arguments.insert(arguments.end(), paths_.hostOptions.begin(), paths_.hostOptions.end());
    } else {
        arguments.push_back("--victim=" + ProgramFile("victim"));
        if (paths_.wire || !paths_.transcript.empty()) {
            arguments.emplace_back("--wire");
        }
    }
    for (const std::string& argument : start.arguments) {
        arguments.push_back(Substitute(argument, cast_->variables));
    }
    return arguments;
}

void CRunner::Do(const StartStatement& start) {
    auto& member = cast_->members[start.actor];
    RefuseUnexpected(start.actor, member);
    member = {};  // an earlier process of this name ends first
    std::string command = "(started)";
    for (const std::string& argument : start.arguments) {
        command += " " + argument;
    }
    screen_.Command(start.actor, command);
    neutral_.Begin(start.actor);
    book_.Begin(start.actor, command);
    member.actor =
        std::make_unique<CActor>(start.actor, ProgramPath(start.actor), Arguments(start),
                                 CActor::Environment{{"KELCOMM_RUNTIME_DIR", paths_.ports}},
                                 [this](const std::string& actor, const TimedLine& line) {
                                     screen_.Event(actor, line);
                                     transcript_.Event(actor, line);
                                     neutral_.Event(actor, line.line, book_.Event(actor, line));
                                     CheckEvent(actor, line.line);
                                     counter_.Event(line.line);
                                 });
}

Member& CRunner::Find(const std::string& actor) {
    const auto found = cast_->members.find(actor);
    if (found == cast_->members.end() || !found->second.actor) {
        throw CFailedExpectation("the " + actor + " has not been started");
    }
    return found->second;
}

void CRunner::Do(const KillStatement& kill) {
    screen_.Command(kill.actor, "(killed)");
    book_.Command(kill.actor, "(killed)");
    auto& member = Find(kill.actor);
    member.actor->Kill();
    AwaitEnd(kill.actor, member, kQuitPatience, "the " + kill.actor + " outlived its killing");
}

void CRunner::Do(const QuitStatement& quit) {
    screen_.Command(quit.actor, "quit");
    book_.Command(quit.actor, "quit");
    auto& member = Find(quit.actor);
    member.actor->Send("quit");
    if (AwaitEnd(quit.actor, member, kQuitPatience, "the " + quit.actor + " did not quit") != 0) {
        throw CFailedExpectation("the " + quit.actor + " ended " + member.actor->EndText());
    }
    screen_.Passed("the " + quit.actor + " ended in good order");
}

void CRunner::Do(const GoneStatement& gone) {
    AwaitEnd(gone.actor, Find(gone.actor), gone.within, "the " + gone.actor + " is still there");
    screen_.Passed("the " + gone.actor + " is gone");
}

int CRunner::AwaitEnd(const std::string& actor, Member& member, std::chrono::milliseconds patience,
                      const std::string& failure) {
    member.endIsKnown = true;
    const Clock::time_point end = Clock::now() + patience;
    for (;;) {
        const auto left = std::max(Until(end), std::chrono::milliseconds(0));
        if (const auto code = member.actor->AwaitEnd(std::min(left, kTick))) {
            book_.End(actor, member.actor->EndText());
            return *code;
        }
        RefuseUnaskedEnds();
        if (left <= kTick) {
            throw CFailedExpectation(failure);
        }
    }
}

void CRunner::Do(const CommandStatement& command) {
    const std::string line = Substitute(command.line, cast_->variables);
    screen_.Command(command.actor, line);
    book_.Command(command.actor, line);
    neutral_.Given(line + "\n");
    Find(command.actor).actor->Send(line);
}

EventPattern CRunner::Filled(const EventPattern& pattern) const {
    EventPattern filled = pattern;
    for (FieldMatch& field : filled.fields) {
        field.value = Substitute(field.value, cast_->variables);
    }
    return filled;
}

void CRunner::Do(const ExpectStatement& expect) {
    auto& member = Find(expect.actor);
    const EventPattern pattern = Filled(expect.pattern);
    if (expect.then && !cast_->stamp) {
        throw CFailedExpectation("the event before has no stamp to be compared");
    }
    const auto stamp = expect.then ? cast_->stamp : std::nullopt;
    const Clock::time_point end = Clock::now() + expect.within;
    std::optional<std::size_t> found;
    for (bool last = false; !found && !last;) {
        ShowCountdown();
        const auto left = std::max(Until(end), std::chrono::milliseconds(0));
        // Who has ended tells nothing more.
        last = left <= kTick || member.actor->AwaitEnd({});
        found = member.Find(pattern, std::min(left, kTick), stamp);
        RefuseUnaskedEnds();
    }
    if (!cast_->countdownText.empty()) {
        cast_->countdownText.clear();
        screen_.Countdown({}, "");
    }
    if (!found) {
        for (const auto& [actor, one] : cast_->members) {
            RefuseUnexpected(actor, one);  // it says more than what did not come for it
        }
        throw CFailedExpectation("the " + expect.actor + " never said" +
                                     (expect.then ? ", after that: " : ": ") + Text(pattern),
                                 member.Around(pattern));
    }
    const TimedLine event = member.actor->EventAt(*found);
    if (expect.after) {
        const auto passed = std::chrono::nanoseconds(*event.stamp - *cast_->stamp);
        if (passed < *expect.after) {
            throw CFailedExpectation("the " + expect.actor + " said so after " +
                                     std::to_string(passed / std::chrono::milliseconds(1)) +
                                     " ms already: " + Text(pattern));
        }
    }
    member.taken.insert(*found);
    cast_->stamp = event.stamp;
    if (expect.name) {
        for (const auto& [key, value] : event.line.Fields()) {
            cast_->variables.emplace_back(*expect.name + "." + key, value);
            neutral_.Name(key, value, *expect.name + "." + key);
        }
    }
    ++cast_->expected;
}

void CRunner::Do(const NeverStatement& never) {
    const Member& member = Find(never.actor);
    ++cast_->expected;
    if (never.wholeStep) {
        cast_->only.emplace_back(cast_->line, never);
        return;
    }
    for (const EventPattern& one : never.patterns) {
        const EventPattern pattern = Filled(one);
        Refuse(never.actor, member, pattern);
        screen_.Passed("the " + never.actor + " told of no " + Text(pattern));
    }
}

void CRunner::ShowCountdown() {
    if (!cast_->countdownText.empty()) {
        screen_.Countdown(std::max(Until(cast_->countdownEnd), std::chrono::milliseconds(0)),
                          cast_->countdownText);
    }
}

void CRunner::Do(const CountdownStatement& countdown) {
    cast_->countdownEnd = Clock::now() + countdown.duration;
    cast_->countdownText = countdown.text;
    screen_.Say(countdown.text);
}

void CRunner::Do(const WaitStatement& wait) {
    const Clock::time_point end = Clock::now() + wait.duration;
    screen_.Say(wait.text);
    while (Clock::now() < end) {
        const auto left = Until(end);
        screen_.Countdown(left, wait.text);
        std::this_thread::sleep_for(std::min(left + std::chrono::milliseconds(1), kTick));
        RefuseUnaskedEnds();
    }
    screen_.Countdown({}, "");
}

}  // namespace Kyr::Lab::Runner
