#include "lab/runner/Runner.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/runner/ReadFile.h"

namespace Kyr::Lab::Runner {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick(100);  // how often a countdown is drawn anew
constexpr std::chrono::milliseconds kQuitPatience = std::chrono::seconds(10);

/// Ends the scenario that is being played.
class CFailedExpectation : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

std::chrono::milliseconds Since(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

std::chrono::milliseconds Until(Clock::time_point end) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
}

std::string Text(const EventPattern& pattern) {
    std::string text = pattern.kind;
    for (const FieldMatch& field : pattern.fields) {
        std::string part = CLine("").With(field.key, field.value).Text();
        if (field.kind == FieldMatch::Kind::kContains) {
            part[1 + field.key.size()] = '~';
        }
        text += part;
    }
    return text;
}

bool Fits(const EventPattern& pattern, const CLine& line) {
    return line.Kind() == pattern.kind &&
           std::all_of(pattern.fields.begin(), pattern.fields.end(), [&](const FieldMatch& field) {
               const std::string* value = line.Find(field.key);
               return value != nullptr && (field.kind == FieldMatch::Kind::kEquals
                                               ? *value == field.value
                                               : value->find(field.value) != std::string::npos);
           });
}

template <typename Kind>
bool Is(const Statement& statement, const std::string& actor) {
    const auto* const one = std::get_if<Kind>(&statement);
    return one != nullptr && one->actor == actor;
}

}  // namespace

struct CRunner::Member {
    std::unique_ptr<CActor> actor;
    std::set<std::size_t> taken;  // the places of the events that were expected
    std::size_t stepFrom = 0;     // where the events of this step begin
    bool endIsKnown = false;      // a statement has ended the process, or seen its end

    /// The first event of this step that fits and has not been taken.
    std::optional<std::size_t> Find(const EventPattern& pattern,
                                    std::chrono::milliseconds patience) const;
};

struct CRunner::Cast {
    explicit Cast(const Scenario& played) : scenario(played) {}

    /// Whether the process may have ended by now: the next statement about its life says so.
    bool MayHaveEnded(const std::string& actor) const;

    const Scenario& scenario;  // borrowed
    std::size_t at = 0;        // the statement that is being played

    std::map<std::string, Member> members;
    std::vector<std::pair<std::string, std::string>> variables;

    std::size_t stepNumber = 0;
    std::optional<StepResult> step;
    Clock::time_point stepStart;
    std::size_t expected = 0;  // how many expectations of the step have held

    Clock::time_point countdownEnd;
    std::string countdownText;
};

std::optional<std::size_t> CRunner::Member::Find(const EventPattern& pattern,
                                                 std::chrono::milliseconds patience) const {
    const Clock::time_point end = Clock::now() + patience;
    std::size_t from = stepFrom;
    for (;;) {
        const std::optional<std::size_t> found = actor->Find(
            from, [&](const CLine& line) { return Fits(pattern, line); },
            std::max(Until(end), std::chrono::milliseconds(0)));
        if (!found || taken.count(*found) == 0) {
            return found;
        }
        from = *found + 1;
    }
}

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
      transcript_((boost::filesystem::path(paths_.work) / "transcript.txt").string()) {}

CRunner::~CRunner() = default;

bool CRunner::Run(const Scenario& scenario) {
    cast_ = std::make_unique<Cast>(scenario);
    cast_->variables.emplace_back("folder", paths_.work);
    screen_.Title(scenario.title);
    std::size_t line = 0;
    bool passed = true;
    try {
        for (; cast_->at < scenario.statements.size(); ++cast_->at) {
            line = scenario.statements[cast_->at].line;
            RefuseUnaskedEnds();
            std::visit([this](const auto& statement) { Do(statement); },
                       scenario.statements[cast_->at].statement);
        }
        RefuseUnaskedEnds();
        CompareTranscript();
    } catch (const std::exception& e) {
        passed = false;
        const std::string failure = "line " + std::to_string(line) + ": " + e.what();
        screen_.Failed(failure);
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

void CRunner::RefuseUnaskedEnds() {
    for (auto& [actor, member] : cast_->members) {
        if (!member.actor || member.endIsKnown || cast_->MayHaveEnded(actor)) {
            continue;
        }
        if (const auto code = member.actor->AwaitEnd({})) {
            throw CFailedExpectation("the " + actor + " has ended unasked, with " +
                                     std::to_string(*code));
        }
    }
}

void CRunner::CloseStep() {
    if (cast_->step) {
        cast_->step->took = Since(cast_->stepStart);
        if (cast_->step->passed) {
            screen_.StepPassed(cast_->expected, cast_->step->took);
        }
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
        // Not at the events of this moment: what the last step set going may be ahead of us.
        member.stepFrom = member.taken.empty() ? 0 : *member.taken.rbegin() + 1;
    }
    screen_.Step(++cast_->stepNumber, step.text);
}

void CRunner::Do(const SayStatement& say) {
    screen_.Say(say.text);
}

std::string CRunner::ProgramFile(const std::string& name) const {
    return (boost::filesystem::path(paths_.programs) / (name + KYR_PROGRAM_SUFFIX)).string();
}

std::string CRunner::ProgramPath(const std::string& actor) const {
    const char* const program = actor == "product" ? "simproduct" : "devhost";
    return ProgramFile(program);
}

std::vector<std::string> CRunner::Arguments(const StartStatement& start) const {
    std::vector<std::string> arguments;
    if (start.actor == "host") {
        arguments.push_back("--library=" + paths_.library);
        arguments.push_back("--database=" +
                            (boost::filesystem::path(paths_.work) / "host.db").string());
        arguments.push_back("--log=" +
                            (boost::filesystem::path(paths_.work) / "host.log").string());
        arguments.insert(arguments.end(), paths_.hostOptions.begin(), paths_.hostOptions.end());
    } else {
        arguments.push_back("--victim=" + ProgramFile("victim"));
        if (!paths_.transcript.empty()) {
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
    member = {};  // an earlier process of this name ends first
    std::string command = "(started)";
    for (const std::string& argument : start.arguments) {
        command += " " + argument;
    }
    screen_.Command(start.actor, command);
    neutral_.Begin(start.actor);
    member.actor =
        std::make_unique<CActor>(start.actor, ProgramPath(start.actor), Arguments(start),
                                 CActor::Environment{{"KELCOMM_RUNTIME_DIR", paths_.ports}},
                                 [this](const std::string& actor, const TimedLine& line) {
                                     screen_.Event(actor, line);
                                     transcript_.Event(actor, line);
                                     neutral_.Event(actor, line.line);
                                     counter_.Event(line.line);
                                 });
}

CRunner::Member& CRunner::Find(const std::string& actor) {
    const auto found = cast_->members.find(actor);
    if (found == cast_->members.end() || !found->second.actor) {
        throw CFailedExpectation("the " + actor + " has not been started");
    }
    return found->second;
}

void CRunner::Do(const KillStatement& kill) {
    screen_.Command(kill.actor, "(killed)");
    auto& member = Find(kill.actor);
    member.actor->Kill();
    if (!member.actor->AwaitEnd(kQuitPatience)) {
        throw CFailedExpectation("the " + kill.actor + " outlived its killing");
    }
    member.endIsKnown = true;
}

void CRunner::Do(const QuitStatement& quit) {
    screen_.Command(quit.actor, "quit");
    auto& member = Find(quit.actor);
    member.actor->Send("quit");
    const std::optional<int> code = member.actor->AwaitEnd(kQuitPatience);
    if (!code) {
        throw CFailedExpectation("the " + quit.actor + " did not quit");
    }
    if (*code != 0) {
        throw CFailedExpectation("the " + quit.actor + " ended with code " + std::to_string(*code));
    }
    member.endIsKnown = true;
    screen_.Passed("the " + quit.actor + " ended in good order");
}

void CRunner::Do(const GoneStatement& gone) {
    auto& member = Find(gone.actor);
    if (!member.actor->AwaitEnd(gone.within)) {
        throw CFailedExpectation("the " + gone.actor + " is still there");
    }
    member.endIsKnown = true;
    screen_.Passed("the " + gone.actor + " is gone");
}

void CRunner::Do(const CommandStatement& command) {
    const std::string line = Substitute(command.line, cast_->variables);
    screen_.Command(command.actor, line);
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
    const Clock::time_point end = Clock::now() + expect.within;
    std::optional<std::size_t> found;
    for (bool last = false; !found && !last;) {
        ShowCountdown();
        const auto left = std::max(Until(end), std::chrono::milliseconds(0));
        // Who has ended tells nothing more.
        last = left <= kTick || member.actor->AwaitEnd({});
        found = member.Find(pattern, std::min(left, kTick));
        RefuseUnaskedEnds();
    }
    if (!cast_->countdownText.empty()) {
        cast_->countdownText.clear();
        screen_.Countdown({}, "");
    }
    if (!found) {
        throw CFailedExpectation("the " + expect.actor + " never said: " + Text(pattern));
    }
    member.taken.insert(*found);
    if (expect.name) {
        const TimedLine event = member.actor->EventAt(*found);
        for (const auto& [key, value] : event.line.Fields()) {
            cast_->variables.emplace_back(*expect.name + "." + key, value);
            neutral_.Name(key, value, *expect.name + "." + key);
        }
    }
    ++cast_->expected;
}

void CRunner::Do(const NeverStatement& never) {
    const EventPattern pattern = Filled(never.pattern);
    if (Find(never.actor).Find(pattern, {})) {
        throw CFailedExpectation("the " + never.actor + " said: " + Text(pattern));
    }
    ++cast_->expected;
    screen_.Passed("the " + never.actor + " told of no " + Text(pattern));
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
