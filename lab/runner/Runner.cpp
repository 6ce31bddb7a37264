#include "lab/runner/Runner.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "lab/runner/Interruption.h"
#include "lab/runner/Member.h"
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

/// What is left, if anything.
std::chrono::milliseconds Until(Clock::time_point end) {
    return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()),
                    std::chrono::milliseconds(0));
}

/// One scenario that is being played.
class CPlay {
  public:
    CPlay(const Scenario& scenario, const Stage& stage, const RunOptions& options, CScreen& screen,
          CLifeBook& book)
        : scenario_(scenario), stage_(stage), options_(options), screen_(screen), book_(book) {}

    bool Play() {
        variables_["folder"] = stage_.work;
        screen_.Title(scenario_.title);
        std::string failure;
        try {
            PlayStatements();
            CompareTranscript();
        } catch (const CFailedExpectation& e) {
            failure = Fail(e.what(), e.Details());
        } catch (const std::exception& e) {
            failure = Fail(e.what(), {});
        }
        CloseStep(failure);
        return failure.empty();
    }

  private:
    void PlayStatements() {
        for (; at_ < scenario_.statements.size(); ++at_) {
            const Statement& statement = scenario_.statements[at_];
            if (statement.verb == Verb::kStep) {
                FinishStep();
            }
            line_ = statement.line;
            RefuseUnaskedEnds();
            Do(statement);
        }
        RefuseUnaskedEnds();
        FinishStep();
    }

    std::string Fail(const std::string& what, const std::vector<std::string>& details) {
        const bool interrupted = CInterruption::Asked();
        std::string failure =
            "line " + std::to_string(line_) + ": " + (interrupted ? "interrupted" : what);
        screen_.Failed(failure, interrupted ? std::vector<std::string>() : details);
        return failure;
    }

    void FinishStep() {
        for (const auto& [actor, member] : members_) {
            RefuseUnexpected(actor, member);
        }
        only_.clear();
        stamp_.reset();
    }

    /// Errors, and what `only` forbids in this step.
    void RefuseUnexpected(const std::string& actor, const Member& member) {
        Refuse(actor, member, {"error", {}});
        for (const Statement& only : only_) {
            if (only.actor == actor) {
                line_ = only.line;
                for (const EventPattern& pattern : only.patterns) {
                    Refuse(actor, member, Filled(pattern));
                }
            }
        }
    }

    static void Refuse(const std::string& actor, const Member& member,
                       const EventPattern& pattern) {
        if (const auto found = member.Find(pattern, {})) {
            throw CFailedExpectation("the " + actor + " said: " + Text(pattern),
                                     {"it was: " + member.actor->EventAt(*found).line.Text()});
        }
    }

    /// Every process lives until a statement ends it, or lets it end.
    void RefuseUnaskedEnds() {
        if (CInterruption::Asked()) {
            throw CFailedExpectation("interrupted");
        }
        for (const auto& [actor, member] : members_) {
            if (!member.endIsKnown && !MayHaveEnded(actor) && member.actor->AwaitEnd({})) {
                throw CFailedExpectation("the " + actor + " has ended unasked, " +
                                         member.actor->EndText());
            }
        }
    }

    /// Whether the process may have ended by now: the next statement about its life says so.
    bool MayHaveEnded(const std::string& actor) const {
        for (std::size_t next = at_; next < scenario_.statements.size(); ++next) {
            const Statement& statement = scenario_.statements[next];
            const bool isOfItsLife = statement.verb == Verb::kStart ||
                                     statement.verb == Verb::kKill ||
                                     statement.verb == Verb::kQuit || statement.verb == Verb::kGone;
            if (isOfItsLife && statement.actor == actor) {
                return statement.verb == Verb::kGone;
            }
        }
        return false;
    }

    /// Empty: it held.
    void CloseStep(const std::string& failure) {
        const std::optional<LifePage::Moment> took = book_.StepDone(failure);
        if (took && failure.empty()) {
            screen_.StepPassed(expected_, *took);
        }
    }

    void CompareTranscript() {
        if (options_.transcript.empty()) {
            return;
        }
        BeginStep("Bus messages, log lines and wire bytes are those of every run");
        members_.clear();  // every process has told all that it has to tell
        const std::string told = book_.NeutralTranscript();
        const std::string own = stage_.File("neutral.txt");
        std::ofstream(own, std::ios::binary) << told;
        const std::string difference = FirstDifference(ReadFile(options_.transcript), told);
        if (!difference.empty()) {
            throw CFailedExpectation(own + " differs from " + options_.transcript + ": " +
                                     difference);
        }
        screen_.Passed("the transcript is that of every run");
    }

    void Do(const Statement& statement) {
        switch (statement.verb) {
            case Verb::kStep:
                return BeginStep(statement.text);
            case Verb::kSay:
                return screen_.Say(statement.text);
            case Verb::kStart:
                return Start(statement);
            case Verb::kCommand:
                return Send(statement);
            case Verb::kKill:
                return Kill(statement.actor);
            case Verb::kQuit:
                return Quit(statement.actor);
            case Verb::kGone:
                return AwaitGone(statement);
            case Verb::kExpect:
            case Verb::kThen:
                return Expect(statement);
            case Verb::kNever:
                return Forbid(statement);
            case Verb::kOnly:
                ++expected_;
                Find(statement.actor);
                return only_.push_back(statement);
            case Verb::kCountdown:
                return BeginCountdown(statement);
            case Verb::kWait:
                return Wait(statement);
        }
    }

    void BeginStep(const std::string& text) {
        CloseStep("");
        expected_ = 0;
        for (auto& [name, member] : members_) {
            member.BeginStep();
        }
        screen_.Step(++stepNumber_, text);
        book_.Step(text);
    }

    void Start(const Statement& start) {
        if (const auto earlier = members_.find(start.actor); earlier != members_.end()) {
            RefuseUnexpected(start.actor, earlier->second);
            members_.erase(earlier);  // it ends first
        }
        std::string command = "(started)";
        std::vector<std::string> arguments;
        if (start.actor == "product" && (options_.wire || !options_.transcript.empty())) {
            arguments.emplace_back("--wire");
        }
        for (const std::string& argument : start.arguments) {
            command += " " + argument;
            arguments.push_back(Substitute(argument, variables_));
        }
        screen_.Command(start.actor, command);
        book_.Begin(start.actor, command);
        auto process = stage_.Start(start.actor, arguments,
                                    [this](const std::string& actor, const TimedLine& line) {
                                        screen_.Event(actor, line);
                                        book_.Event(actor, line);
                                    });
        members_[start.actor].actor = std::move(process);
    }

    Member& Find(const std::string& actor) {
        const auto found = members_.find(actor);
        if (found == members_.end()) {
            throw CFailedExpectation("the " + actor + " has not been started");
        }
        return found->second;
    }

    void TellCommand(const std::string& actor, const std::string& line) {
        screen_.Command(actor, line);
        book_.Command(actor, line);
    }

    void Kill(const std::string& actor) {
        TellCommand(actor, "(killed)");
        Member& member = Find(actor);
        member.actor->Kill();
        AwaitEnd(actor, member, kQuitPatience, "the " + actor + " outlived its killing");
    }

    void Quit(const std::string& actor) {
        TellCommand(actor, "quit");
        Member& member = Find(actor);
        member.actor->Send("quit");
        if (AwaitEnd(actor, member, kQuitPatience, "the " + actor + " did not quit") != 0) {
            throw CFailedExpectation("the " + actor + " ended " + member.actor->EndText());
        }
        screen_.Passed("the " + actor + " ended in good order");
    }

    void AwaitGone(const Statement& gone) {
        AwaitEnd(gone.actor, Find(gone.actor), gone.duration,
                 "the " + gone.actor + " is still there");
        screen_.Passed("the " + gone.actor + " is gone");
    }

    /// The exit code; fails when the process outlives the patience.
    int AwaitEnd(const std::string& actor, Member& member, std::chrono::milliseconds patience,
                 const std::string& failure) {
        member.endIsKnown = true;
        const Clock::time_point end = Clock::now() + patience;
        for (;;) {
            const std::chrono::milliseconds left = Until(end);
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

    void Send(const Statement& command) {
        const std::string line = Substitute(command.text, variables_);
        TellCommand(command.actor, line);
        book_.Given(line + "\n");
        Find(command.actor).actor->Send(line);
    }

    EventPattern Filled(const EventPattern& pattern) const {
        EventPattern filled = pattern;
        for (FieldMatch& field : filled.fields) {
            field.value = Substitute(field.value, variables_);
        }
        return filled;
    }

    void Expect(const Statement& expect) {
        Member& member = Find(expect.actor);
        const EventPattern pattern = Filled(expect.patterns.front());
        const bool then = expect.verb == Verb::kThen;
        if (then && !stamp_) {
            throw CFailedExpectation("the event before has no stamp to be compared");
        }
        const auto found = Await(member, pattern, expect.duration, then ? stamp_ : std::nullopt);
        if (!found) {
            for (const auto& [actor, one] : members_) {
                RefuseUnexpected(actor, one);  // it says more than what did not come for it
            }
            throw CFailedExpectation("the " + expect.actor + " never said" +
                                         (then ? ", after that: " : ": ") + Text(pattern),
                                     member.Around(pattern));
        }
        const TimedLine event = member.actor->EventAt(*found);
        if (expect.after) {
            const auto passed = std::chrono::nanoseconds(*event.stamp - *stamp_);
            if (passed < *expect.after) {
                throw CFailedExpectation("the " + expect.actor + " said so after " +
                                         std::to_string(passed / std::chrono::milliseconds(1)) +
                                         " ms already: " + Text(pattern));
            }
        }
        member.taken.insert(*found);
        stamp_ = event.stamp;
        if (expect.name) {
            for (const auto& [key, value] : event.line.Fields()) {
                variables_[*expect.name + "." + key] = value;
                book_.Name(key, value, *expect.name + "." + key);
            }
        }
        ++expected_;
    }

    /// The place of such an event, while a countdown is shown.
    std::optional<std::size_t> Await(const Member& member, const EventPattern& pattern,
                                     std::chrono::milliseconds patience,
                                     std::optional<std::uint64_t> stamp) {
        const Clock::time_point end = Clock::now() + patience;
        std::optional<std::size_t> found;
        for (bool last = false; !found && !last;) {
            if (!countdownText_.empty()) {
                screen_.Countdown(Until(countdownEnd_), countdownText_);
            }
            const std::chrono::milliseconds left = Until(end);
            // Who has ended tells nothing more.
            last = left <= kTick || member.actor->AwaitEnd({});
            found = member.Find(pattern, std::min(left, kTick), stamp);
            RefuseUnaskedEnds();
        }
        if (!countdownText_.empty()) {
            countdownText_.clear();
            screen_.Countdown({}, "");
        }
        return found;
    }

    void Forbid(const Statement& never) {
        const Member& member = Find(never.actor);
        for (const EventPattern& one : never.patterns) {
            const EventPattern pattern = Filled(one);
            Refuse(never.actor, member, pattern);
            screen_.Passed("the " + never.actor + " told of no " + Text(pattern));
        }
        ++expected_;
    }

    void BeginCountdown(const Statement& countdown) {
        countdownEnd_ = Clock::now() + countdown.duration;
        countdownText_ = countdown.text;
        screen_.Say(countdown.text);
    }

    void Wait(const Statement& wait) {
        const Clock::time_point end = Clock::now() + wait.duration;
        screen_.Say(wait.text);
        while (Clock::now() < end) {
            const std::chrono::milliseconds left = Until(end);
            screen_.Countdown(left, wait.text);
            std::this_thread::sleep_for(std::min(left + std::chrono::milliseconds(1), kTick));
            RefuseUnaskedEnds();
        }
        screen_.Countdown({}, "");
    }

    const Scenario& scenario_;
    const Stage& stage_;
    const RunOptions& options_;
    CScreen& screen_;
    CLifeBook& book_;

    std::size_t at_ = 0;    // the statement that is being played
    std::size_t line_ = 0;  // where it stands
    std::map<std::string, std::string> variables_;

    std::size_t stepNumber_ = 0;
    std::size_t expected_ = 0;            // how many expectations of the step have held
    std::optional<std::uint64_t> stamp_;  // of the event that was expected last
    std::vector<Statement> only_;         // of the step

    Clock::time_point countdownEnd_;
    std::string countdownText_;

    std::map<std::string, Member> members_;  // they go first: their threads tell
};

}  // namespace

bool PlayScenario(const Scenario& scenario, const Stage& stage, const RunOptions& options,
                  CScreen& screen, CLifeBook& book) {
    return CPlay(scenario, stage, options, screen, book).Play();
}

}  // namespace Kyr::Lab::Runner
