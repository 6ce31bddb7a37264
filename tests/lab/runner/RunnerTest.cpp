#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "lab/runner/Interruption.h"
#include "lab/runner/ReadFile.h"
#include "lab/runner/Runner.h"
#include "tests/lab/runner/ParrotFolder.h"

namespace Kyr::Lab::Runner {
namespace {

using namespace testing;

const std::string kHeld;
constexpr std::chrono::seconds kAtOnce(10);

class RunnerTest : public ::testing::Test {
  protected:
    RunnerTest() {
        paths_.programs = folder_.Path();
        paths_.library = "the-library";
        paths_.ports = folder_.File("ports");
        paths_.work = folder_.File("work");
    }

    /// Plays statements, the first of which stands in line 2. Tells what failed.
    std::string Play(const std::string& statements) {
        CScreen screen(screen_, true, CScreen::Detail::kEverything);
        CRunner runner(paths_, screen);
        const bool held = runner.Run(ParseScenario("title T\n" + statements));
        results_ = runner.Results();
        const std::string failure = results_.empty() ? kHeld : results_.back().failure;
        EXPECT_EQ(held, failure == kHeld);
        return failure;
    }

    /// How long it takes to play them, with what they fail.
    std::chrono::milliseconds TimeOf(const std::string& statements, const std::string& failure) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Play(statements), failure);
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start);
    }

    const CParrotFolder folder_;
    RunnerPaths paths_;
    std::ostringstream screen_;
    std::vector<StepResult> results_;
};

TEST_F(RunnerTest, HostIsStartedWithItsFilesAndTheArgumentsOfTheScenario) {
    paths_.hostOptions = {"--port-layer"};
    EXPECT_EQ(Play("start host --memory $folder/kept\n"
                   "expect host answer text=--library=the-library\n"
                   "expect host answer text~--database=\n"
                   "expect host answer text~--log=\n"
                   "expect host answer text=--port-layer\n"
                   "expect host answer text=--memory\n"
                   "expect host answer text=" +
                   paths_.work + "/kept\n"),
              kHeld);
}

TEST_F(RunnerTest, ProductIsStartedWithItsVictim) {
    EXPECT_EQ(Play("start product --nothing-new\n"
                   "expect product answer text~--victim=\n"
                   "expect product answer text=--nothing-new\n"
                   "never product answer text=--wire\n"),
              kHeld);
}

TEST_F(RunnerTest, ProgramThatIsMissingFails) {
    boost::filesystem::remove(folder_.Program("devhost"));
    EXPECT_EQ(Play("start host\nquit host\n"),
              "line 2: cannot start " + folder_.Program("devhost") + ": there is no such file");
}

TEST_F(RunnerTest, WhatWasNeverStartedFailsEveryStatement) {
    const std::string failure = "line 2: the host has not been started";
    EXPECT_EQ(Play("expect host log\n"), failure);
    EXPECT_EQ(Play("never host log\n"), failure);
    EXPECT_EQ(Play("gone host\n"), failure);
    EXPECT_EQ(Play("quit host\n"), failure);
    EXPECT_EQ(Play("kill host\nquit host\n"), failure);
    EXPECT_EQ(Play("host log\nquit host\n"), failure);
}

TEST_F(RunnerTest, ProcessThatIsStartedAnewEndsTheEarlierOne) {
    EXPECT_EQ(Play("start host\n"
                   "host log text=earlier\n"
                   "expect host log text=earlier\n"
                   "start host\n"
                   "host log text=later\n"
                   "expect host log text=later\n"
                   "never host log text=earlier\n"),
              kHeld);
}

TEST_F(RunnerTest, ExpectedEventIsOneOfItsKindWithItsFields) {
    EXPECT_EQ(Play("start host\n"
                   "host log level=4 text=\"one two\"\n"
                   "expect host log text~\"e t\" level=4\n"),
              kHeld);
}

TEST_F(RunnerTest, EventOfAnotherKindValueOrKeyIsNotTheExpectedOne) {
    const std::string told = "start host\nhost log level=4 text=\"one two\"\n";
    EXPECT_EQ(Play(told + "expect host life text=\"one two\" within 10ms\n"),
              "line 4: the host never said: life text=\"one two\"");
    EXPECT_EQ(Play(told + "expect host log level=3 within 10ms\n"),
              "line 4: the host never said: log level=3");
    EXPECT_EQ(Play(told + "expect host log text=one within 10ms\n"),
              "line 4: the host never said: log text=one");
    EXPECT_EQ(Play(told + "expect host log text~three within 10ms\n"),
              "line 4: the host never said: log text~three");
    EXPECT_EQ(Play(told + "expect host log level=4 source~4 within 10ms\n"),
              "line 4: the host never said: log level=4 source~4");
}

TEST_F(RunnerTest, ExpectedEventMayComeLaterButNotTooLate) {
    const std::string told = "start host\nhost after 400 log\n";
    EXPECT_EQ(Play(told + "expect host log within 20s\n"), kHeld);
    EXPECT_EQ(Play(told + "expect host log within 50ms\n"), "line 4: the host never said: log");
}

TEST_F(RunnerTest, EventServesOneExpectation) {
    EXPECT_EQ(Play("start host\nhost log\nhost log\n"
                   "expect host log\nexpect host log\nexpect host log within 10ms\n"),
              "line 7: the host never said: log");
}

TEST_F(RunnerTest, OrderWithinAStepDoesNotMatter) {
    EXPECT_EQ(Play("start host\nhost log text=a\nhost log text=b\n"
                   "expect host log text=b\nexpect host log text=a\n"),
              kHeld);
}

// What `then` compares are the stamps that the programs give.

TEST_F(RunnerTest, ThenHoldsForAnEventToldAfterTheOneBeforeByEitherActor) {
    EXPECT_EQ(Play("start host\nstart product\nproduct did action=a at=7\n"
                   "expect product did action=a\n"
                   "host log text=a at=6\nhost log text=a at=8\nthen host log text=a\n"
                   "host life at=9\nthen host life\n"),
              kHeld);
}

TEST_F(RunnerTest, ThenFailsForAnEventToldBeforeOrAtTheSameMoment) {
    const std::string failure = "line 7: the host never said, after that: log text=a";
    const std::string before = "start host\nstart product\nhost log text=a at=";
    const std::string then =
        "\nproduct did action=a at=7\nexpect product did\nthen host log text=a within 50ms\n";
    EXPECT_EQ(Play(before + "6" + then), failure);
    EXPECT_EQ(Play(before + "7" + then), failure);
    EXPECT_THAT(screen_.str(), HasSubstr("nearest, at another moment: log text=a\n"));
}

TEST_F(RunnerTest, ThenFailsWhereNoStampTellsTheOrder) {
    EXPECT_EQ(
        Play("start host\nhost log text=a\nhost life at=9\nexpect host log\nthen host life\n"),
        "line 6: the event before has no stamp to be compared");
}

TEST_F(RunnerTest, AfterHoldsForAWaitThatWasTakenAndFailsForAShorterOne) {
    const std::string told =
        "start host\nhost log text=a at=1000000000\nhost life at=1250000000\nexpect host log\n";
    EXPECT_EQ(Play(told + "then host life after 250ms\n"), kHeld);
    EXPECT_EQ(Play(told + "then host life after 251ms\n"),
              "line 6: the host said so after 250 ms already: life");
}

TEST_F(RunnerTest, OnlyHoldsWhereNothingElseOfItsKindsWasTold) {
    EXPECT_EQ(Play("start host\nhost log level=4\nhost log level=2\nhost life\n"
                   "only host log level=4 deliver\nexpect host log level=4\nexpect host life\n"),
              kHeld);
}

TEST_F(RunnerTest, OnlyFailsForWhatIsToldBehindItInItsStep) {
    const std::string step =
        "start host\nonly host deliver log level=4\nhost log level=4\nhost life\n"
        "expect host life\n";
    EXPECT_EQ(Play(step), "line 3: the host said: log level=4");
    EXPECT_EQ(Play(step + "step two\nquit host\n"), "line 3: the host said: log level=4");
    EXPECT_EQ(Play(step + "start host\n"), "line 3: the host said: log level=4");
    EXPECT_THAT(screen_.str(), HasSubstr("it was: log level=4\n"));
}

TEST_F(RunnerTest, OnlyHoldsForItsOwnStep) {
    EXPECT_EQ(Play("start host\nonly host log\nhost life\nexpect host life\n"
                   "step two\nhost log\nexpect host log\nhost log\nquit host\n"),
              kHeld);
}

TEST_F(RunnerTest, ErrorThatNobodyExpectedFailsItsStep) {
    const std::string told = "start host\nhost error command=kil\nhost life\nexpect host life\n";
    const std::string failure = ": the host said: error";
    EXPECT_EQ(Play(told), "line 5" + failure);
    EXPECT_EQ(Play(told + "step two\nquit host\n"), "line 5" + failure);
    EXPECT_EQ(Play(told + "start host\n"), "line 6" + failure);
    EXPECT_EQ(Play(told + "expect host log within 10ms\n"), "line 6" + failure);
    EXPECT_THAT(screen_.str(), HasSubstr("it was: error command=kil\n"));
    EXPECT_EQ(Play(told + "expect host error command=kil\n"), kHeld);
}

TEST_F(RunnerTest, EventOfWhichNoTableTellsFailsTheScenario) {
    EXPECT_EQ(
        Play("start host\nhost log txet=a\nexpect host log within 20s\n"),
        "line 4: cannot make use of what the host tells, \"txet\" is no key of the host's log:"
        " log txet=a");
}

TEST_F(RunnerTest, FailureShowsTheNearestEventAndTheLastTen) {
    std::string told = "start host\nhost log level=4 text=a\nhost log level=2 text=b\n";
    for (int i = 0; i < 10; ++i) {
        told += "host life call=" + std::to_string(i) + "\n";
    }
    Play(told + "expect host life call=9\nexpect host log level=4 text=b source~c within 10ms\n");
    const std::string margin = "                ";
    std::string expected = "nearest: log level=2 text=b\n" + margin + "the last that was told:\n";
    for (int i = 0; i < 10; ++i) {
        expected += margin + "  00:00:00.000 life call=" + std::to_string(i) + "\n";
    }
    EXPECT_THAT(screen_.str(), HasSubstr(expected));
}

/// A terminal before which somebody presses Ctrl-C when it shows the text.
class CImpatientTerminal : public std::stringbuf {
    int sync() override {
        if (str().find("log   now") != std::string::npos) {
            std::raise(SIGINT);
        }
        return 0;
    }
};

TEST_F(RunnerTest, InterruptionEndsAScenarioAtOnce) {
    for (const char* const wait :
         {"expect host log text=a within 20s", "wait 20s x\nquit host", "gone host within 20s"}) {
        const CInterruption interruption;
        CImpatientTerminal terminal;
        static_cast<std::ostream&>(screen_).rdbuf(&terminal);
        EXPECT_LT(
            TimeOf("step one\nstart host\nhost after 100 log text=now\n" + std::string(wait) + "\n",
                   "line 5: interrupted"),
            kAtOnce);
    }
    static_cast<std::ostream&>(screen_).rdbuf(nullptr);
}

TEST_F(RunnerTest, StepBeginsBehindTheLastEventThatAnEarlierOneExpected) {
    const std::string told =
        "start host\nhost log text=a\nhost log text=b\nhost log text=c\n"
        "expect host log text=b\nstep two\n";
    EXPECT_EQ(Play(told + "expect host log text=c\n"), kHeld);
    EXPECT_EQ(Play(told + "expect host log text=a within 10ms\n"),
              "line 8: the host never said: log text=a");
}

TEST_F(RunnerTest, StepsOfTwoActorsBeginEachBehindItsOwnEvents) {
    EXPECT_EQ(Play("start host\nstart product\nhost log text=a\nproduct did action=a\n"
                   "expect product did action=a\n"
                   "step two\n"
                   "expect host log text=a\n"),
              kHeld);
}

TEST_F(RunnerTest, NeverHoldsWhereNoSuchEventWasTold) {
    EXPECT_EQ(Play("start host\nhost log level=2\nexpect host log level=2\n"
                   "never host log level=4\n"),
              kHeld);
}

TEST_F(RunnerTest, NeverFailsOnSuchAnEventOfTheStep) {
    EXPECT_EQ(Play("start host\nhost log level=4\nhost life\nexpect host life\n"
                   "never host log level=4\n"),
              "line 6: the host said: log level=4");
}

TEST_F(RunnerTest, NeverPassesOverWhatWasExpectedAndEarlierSteps) {
    EXPECT_EQ(Play("start host\nhost log text=a\nhost log text=b\n"
                   "expect host log text=b\n"
                   "step two\n"
                   "host log text=c\n"
                   "expect host log text=c\n"
                   "never host log\n"),
              kHeld);
}

TEST_F(RunnerTest, FieldsOfANamedEventStandInLaterStatements) {
    EXPECT_EQ(Play("start product\nstart host\nproduct started pid=77\n"
                   "expect product started as victim\n"
                   "host log text=$victim.pid\n"
                   "expect host log text=77\n"
                   "product started pid=78\n"
                   "expect product started as victim\n"
                   "never host log text=$victim.pid\n"
                   "start host --kill=$victim.pid\n"
                   "expect host answer text=--kill=78\n"),
              kHeld);
}

TEST_F(RunnerTest, NameWithoutValueFails) {
    EXPECT_EQ(Play("start host\nhost log text=$victim.pid\nquit host\n"),
              "line 3: $victim.pid has no value yet");
}

TEST_F(RunnerTest, KilledProcessSaysNothingMore) {
    EXPECT_EQ(Play("start host\nhost log text=a\nexpect host log text=a\nkill host\n"
                   "never host log\nstart host\nquit host\n"),
              kHeld);
}

TEST_F(RunnerTest, GoneHoldsByWhateverWayTheProcessEnds) {
    EXPECT_EQ(Play("start host\nhost end 3\ngone host\n"), kHeld);
}

TEST_F(RunnerTest, GoneFailsOnAProcessThatLives) {
    EXPECT_EQ(Play("start host\ngone host within 50ms\n"), "line 3: the host is still there");
}

TEST_F(RunnerTest, QuitHoldsForCodeZeroOnly) {
    EXPECT_EQ(Play("start product\nquit product\n"), kHeld);
    EXPECT_EQ(Play("start product\nproduct code 3\nquit product\n"),
              "line 4: the product ended with code 3");
}

TEST_F(RunnerTest, WhatAProcessTellsAtItsEndCanBeExpected) {
    EXPECT_EQ(Play("start host\nhost after 100 log text=last\nquit host\n"
                   "expect host log text=last within 10ms\n"),
              kHeld);
}

TEST_F(RunnerTest, WaitLetsItsTimeGoBy) {
    EXPECT_GE(TimeOf("start host\nwait 250ms for nothing\nnever host log\n", kHeld),
              std::chrono::milliseconds(250));
    EXPECT_THAT(screen_.str(), HasSubstr("for nothing"));
}

TEST_F(RunnerTest, WaitGivesWhatNeverForbidsTimeToHappen) {
    EXPECT_EQ(Play("start host\nhost life\nexpect host life\n"
                   "host after 100 log\nwait 1s for it\nnever host log\n"),
              "line 7: the host said: log");
}

TEST_F(RunnerTest, CountdownIsShownWhileTheNextExpectationIsAwaited) {
    EXPECT_EQ(Play("start host\nhost after 100 log\ncountdown 10s until it logs\n"
                   "expect host log\n"),
              kHeld);
    EXPECT_THAT(screen_.str(), ContainsRegex(" s +until it logs"));
}

TEST_F(RunnerTest, CountdownDoesNotMakeTheExpectationWaitLonger) {
    EXPECT_LT(TimeOf("start host\ncountdown 20s until it logs\nexpect host log within 50ms\n",
                     "line 4: the host never said: log"),
              std::chrono::seconds(10));
}

// A process that ends unasked fails the scenario, and at once.

TEST_F(RunnerTest, UnaskedEndFailsTheExpectationOfItsEvent) {
    EXPECT_LT(TimeOf("start host\nhost end 3\nexpect host log within 20s\n",
                     "line 4: the host has ended unasked, with code 3"),
              kAtOnce);
}

TEST_F(RunnerTest, UnaskedEndFailsTheExpectationOfAnothersEvent) {
    EXPECT_LT(TimeOf("start host\nstart product\nhost end 0\nexpect product did within 20s\n",
                     "line 5: the host has ended unasked, with code 0"),
              kAtOnce);
}

TEST_F(RunnerTest, UnaskedEndFailsAWait) {
    EXPECT_LT(TimeOf("start host\nhost end 3\nwait 20s for nothing\nnever host log\nquit host\n",
                     "line 4: the host has ended unasked, with code 3"),
              kAtOnce);
}

TEST_F(RunnerTest, UnaskedEndFailsTheWaitForAnothersEnd) {
    EXPECT_LT(TimeOf("start host\nstart product\nhost after 200 end 3\ngone product within 20s\n",
                     "line 5: the host has ended unasked, with code 3"),
              kAtOnce);
}

TEST_F(RunnerTest, ProcessThatMustBeGoneMayEndBefore) {
    EXPECT_EQ(Play("start host\nhost end 3\nwait 300ms until it has ended\ngone host\n"
                   "start host\nquit host\n"),
              kHeld);
}

TEST_F(RunnerTest, ExpectationOfAProcessThatHasQuitFailsAtOnce) {
    EXPECT_LT(TimeOf("start host\nquit host\nexpect host log within 20s\n",
                     "line 4: the host never said: log"),
              kAtOnce);
}

TEST_F(RunnerTest, EventWithoutSenseFailsTheScenario) {
    EXPECT_EQ(Play("start host\nhost mined records=x\nexpect host log within 20s\n"),
              "line 4: cannot make use of what the host tells, 'x' is not a number: "
              "mined records=x");
}

TEST_F(RunnerTest, EachStepIsARowUpToTheFirstThatFails) {
    Play(
        "start host\n"
        "step one\nhost log\nexpect host log\n"
        "step two\nexpect host log within 10ms\n"
        "step three\nquit host\n");
    const auto row = [](const char* step, bool passed) {
        return AllOf(Field(&StepResult::scenario, "T"), Field(&StepResult::step, step),
                     Field(&StepResult::passed, passed));
    };
    EXPECT_THAT(results_, ElementsAre(row("one", true), row("two", false)));
}

TEST_F(RunnerTest, FailureBeforeTheFirstStepHasARowToo) {
    Play("start host\nexpect host log within 10ms\n");
    ASSERT_EQ(results_.size(), 1U);
    EXPECT_EQ(results_[0].step, "before the first step");
}

TEST_F(RunnerTest, WhatIsToldStandsInTheTranscript) {
    Play("start host\nhost log text=\"a b\"\nexpect host log\n");
    EXPECT_THAT(ReadFile(folder_.File("work/transcript.txt")),
                HasSubstr("00:00:00.000 host log text=\"a b\"\n"));
}

/// A run whose neutral transcript is compared.
class TranscriptTest : public RunnerTest {
  protected:
    TranscriptTest() { paths_.transcript = folder_.File("known.txt"); }

    const std::string told_ = "start host\nhost log text=a\nexpect host log text=a\nquit host\n";
};

TEST_F(TranscriptTest, KnownOneHolds) {
    folder_.Write("known.txt", "host 1: log text=a\n");
    EXPECT_EQ(Play(told_), kHeld);
    ASSERT_EQ(results_.size(), 1U);
    EXPECT_EQ(results_[0].step, "Bus messages, log lines and wire bytes are those of every run");
}

TEST_F(TranscriptTest, DifferingOneFailsAndLeavesItsOwn) {
    folder_.Write("known.txt", "host 1: log text=b\n");
    EXPECT_THAT(Play(told_),
                HasSubstr(": line 1 is host 1: log text=a instead of host 1: log text=b"));
    EXPECT_EQ(ReadFile(folder_.File("work/neutral.txt")), "host 1: log text=a\n");
}

TEST_F(TranscriptTest, MissingOneFails) {
    EXPECT_THAT(Play(told_), HasSubstr("cannot read " + folder_.File("known.txt")));
}

TEST_F(TranscriptTest, ProductTellsTheWire) {
    folder_.Write("known.txt", "");
    EXPECT_EQ(Play("start product\nexpect product answer text=--wire\n"), kHeld);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
