#include "lab/runner/Runner.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

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

}  // namespace

struct CRunner::Cast {
    explicit Cast(const Scenario& played) : scenario(played) {}

    /// Whether the process may have ended by now: the next statement about its life says so.
    bool MayHaveEnded(const std::string& actor) const;

    const Scenario& scenario;  // borrowed
    std::size_t at = 0;        // the statement that is being played
    std::size_t line = 0;      // where it stands

    std::map<std::string, Member> members;
    std::map<std::string, std::string> variables;

    std::size_t stepNumber = 0;
    std::optional<StepResult> step;
    Clock::time_point stepStart;
    std::size_t expected = 0;            // how many expectations of the step have held
    std::optional<std::uint64_t> stamp;  // of the event that was expected last
    std::vector<Statement> only;         // of the step

    Clock::time_point countdownEnd;
    std::string countdownText;
};

bool CRunner::Cast::MayHaveEnded(const std::string& actor) const {
    for (std::size_t next = at; next < scenario.statements.size(); ++next) {
        const Statement& statement = scenario.statements[next];
        const bool isOfItsLife = statement.verb == Verb::kStart || statement.verb == Verb::kKill ||
                                 statement.verb == Verb::kQuit || statement.verb == Verb::kGone;
        if (isOfItsLife && statement.actor == actor) {
            return statement.verb == Verb::kGone;
        }
    }
    return false;
}

CRunner::CRunner(Stage stage, RunOptions options, CScreen& screen)
    : stage_(std::move(stage)),
      options_(std::move(options)),
      screen_(screen),
      transcript_(stage_.File("transcript.txt"), std::ios::binary),
      book_(transcript_, options_.heading) {
    if (!transcript_) {
        throw std::runtime_error("cannot write " + stage_.File("transcript.txt"));
    }
    // The hosts append to it.
    std::ofstream(stage_.HostLog(), std::ios::app) << "# " << options_.heading << '\n';
}

CRunner::~CRunner() = default;

bool CRunner::Run(const Scenario& scenario) {
    cast_ = std::make_unique<Cast>(scenario);
    cast_->variables["folder"] = stage_.work;
    screen_.Title(scenario.title);
    book_.Title(scenario.title);
    bool passed = true;
    try {
        for (; cast_->at < scenario.statements.size(); ++cast_->at) {
            const Statement& statement = scenario.statements[cast_->at];
            if (statement.verb == Verb::kStep) {
                FinishStep();
            }
            cast_->line = statement.line;
            RefuseUnaskedEnds();
            Do(statement);
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
    for (const Statement& only : cast_->only) {
        if (only.actor == actor) {
            cast_->line = only.line;
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
    if (options_.transcript.empty()) {
        return;
    }
    BeginStep({Verb::kStep, cast_->line, "",
               "Bus messages, log lines and wire bytes are those of every run"});
    cast_->members.clear();  // every process has told all that it has to tell
    const std::string told = book_.NeutralTranscript();
    const std::string own = stage_.File("neutral.txt");
    std::ofstream(own, std::ios::binary) << told;
    const std::string difference = FirstDifference(ReadFile(options_.transcript), told);
    if (!difference.empty()) {
        throw CFailedExpectation(own + " differs from " + options_.transcript + ": " + difference);
    }
    screen_.Passed("the transcript is that of every run");
}

void CRunner::Do(const Statement& statement) {
    switch (statement.verb) {
        case Verb::kStep:
            return BeginStep(statement);
        case Verb::kSay:
            return screen_.Say(statement.text);
        case Verb::kStart:
            return Start(statement);
        case Verb::kCommand:
            return Send(statement);
        case Verb::kKill:
            return Kill(statement);
        case Verb::kQuit:
            return Quit(statement);
        case Verb::kGone:
            return AwaitGone(statement);
        case Verb::kExpect:
        case Verb::kThen:
            return Expect(statement);
        case Verb::kNever:
            return Forbid(statement);
        case Verb::kOnly:
            ++cast_->expected;
            Find(statement.actor);
            return cast_->only.push_back(statement);
        case Verb::kCountdown:
            return BeginCountdown(statement);
        case Verb::kWait:
            return Wait(statement);
    }
}

void CRunner::BeginStep(const Statement& step) {
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

void CRunner::Start(const Statement& start) {
    auto& member = cast_->members[start.actor];
    RefuseUnexpected(start.actor, member);
    member = {};  // an earlier process of this name ends first
    std::string command = "(started)";
    std::vector<std::string> arguments;
    if (start.actor == "product" && (options_.wire || !options_.transcript.empty())) {
        arguments.emplace_back("--wire");
    }
    for (const std::string& argument : start.arguments) {
        command += " " + argument;
        arguments.push_back(Substitute(argument, cast_->variables));
    }
    screen_.Command(start.actor, command);
    book_.Begin(start.actor, command);
    member.actor = stage_.Start(start.actor, arguments,
                                [this](const std::string& actor, const TimedLine& line) {
                                    screen_.Event(actor, line);
                                    book_.Event(actor, line);
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

void CRunner::Kill(const Statement& kill) {
    screen_.Command(kill.actor, "(killed)");
    book_.Command(kill.actor, "(killed)");
    auto& member = Find(kill.actor);
    member.actor->Kill();
    AwaitEnd(kill.actor, member, kQuitPatience, "the " + kill.actor + " outlived its killing");
}

void CRunner::Quit(const Statement& quit) {
    screen_.Command(quit.actor, "quit");
    book_.Command(quit.actor, "quit");
    auto& member = Find(quit.actor);
    member.actor->Send("quit");
    if (AwaitEnd(quit.actor, member, kQuitPatience, "the " + quit.actor + " did not quit") != 0) {
        throw CFailedExpectation("the " + quit.actor + " ended " + member.actor->EndText());
    }
    screen_.Passed("the " + quit.actor + " ended in good order");
}

void CRunner::AwaitGone(const Statement& gone) {
    AwaitEnd(gone.actor, Find(gone.actor), gone.duration, "the " + gone.actor + " is still there");
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

void CRunner::Send(const Statement& command) {
    const std::string line = Substitute(command.text, cast_->variables);
    screen_.Command(command.actor, line);
    book_.Command(command.actor, line);
    book_.Given(line + "\n");
    Find(command.actor).actor->Send(line);
}

EventPattern CRunner::Filled(const EventPattern& pattern) const {
    EventPattern filled = pattern;
    for (FieldMatch& field : filled.fields) {
        field.value = Substitute(field.value, cast_->variables);
    }
    return filled;
}

void CRunner::Expect(const Statement& expect) {
    auto& member = Find(expect.actor);
    const EventPattern pattern = Filled(expect.patterns.front());
    const bool then = expect.verb == Verb::kThen;
    if (then && !cast_->stamp) {
        throw CFailedExpectation("the event before has no stamp to be compared");
    }
    const auto stamp = then ? cast_->stamp : std::nullopt;
    const Clock::time_point end = Clock::now() + expect.duration;
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
                                     (then ? ", after that: " : ": ") + Text(pattern),
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
            cast_->variables[*expect.name + "." + key] = value;
            book_.Name(key, value, *expect.name + "." + key);
        }
    }
    ++cast_->expected;
}

void CRunner::Forbid(const Statement& never) {
    const Member& member = Find(never.actor);
    for (const EventPattern& one : never.patterns) {
        const EventPattern pattern = Filled(one);
        Refuse(never.actor, member, pattern);
        screen_.Passed("the " + never.actor + " told of no " + Text(pattern));
    }
    ++cast_->expected;
}

void CRunner::ShowCountdown() {
    if (!cast_->countdownText.empty()) {
        screen_.Countdown(std::max(Until(cast_->countdownEnd), std::chrono::milliseconds(0)),
                          cast_->countdownText);
    }
}

void CRunner::BeginCountdown(const Statement& countdown) {
    cast_->countdownEnd = Clock::now() + countdown.duration;
    cast_->countdownText = countdown.text;
    screen_.Say(countdown.text);
}

void CRunner::Wait(const Statement& wait) {
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
