#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

#include <boost/algorithm/string/replace.hpp>
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

class RunnerFixture {
  protected:
    RunnerFixture() { boost::filesystem::create_directory(stage_.work); }

    /// Plays statements, which are parted by "; ", the first of them in line 2. Tells what failed.
    std::string Play(const std::string& statements) {
        CScreen screen(screen_, true, CScreen::Detail::kEverything);
        CLifeBook book(stage_.File("transcript.txt"), "T", "");
        const bool held = PlayScenario(
            ParseScenario("title T\n" + boost::algorithm::replace_all_copy(statements, "; ", "\n") +
                          "\n"),
            stage_, options_, screen, book);
        steps_ = book.Steps();
        std::string failure = steps_.empty() ? kHeld : steps_.back().failure;
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
    Stage stage_{folder_.Path(), "the-library", folder_.File("ports"), folder_.File("work")};
    RunOptions options_;
    std::ostringstream screen_;
    std::vector<LifePage::Step> steps_;
};

/// A scenario, and how it ends. Nothing takes longer than it must, whatever it was allowed to.
struct Played {
    const char* name;
    std::string statements;
    std::string failure = kHeld;
};

std::ostream& operator<<(std::ostream& stream, const Played& played) {
    return stream << played.statements;
}

class PlayedTest : public RunnerFixture, public TestWithParam<Played> {};

TEST_P(PlayedTest, EndsAsItMust) {
    EXPECT_LT(TimeOf(GetParam().statements, GetParam().failure), kAtOnce);
}

const std::string kTold = "start host; host log level=4 text=\"one two\"; ";
const std::string kLater = "start host; host after 400 log; ";
const Played kExpectations[] = {
    {"EventOfItsKindWithItsFieldsIsTheExpectedOne", kTold + "expect host log text~\"e t\" level=4"},
    {"EventOfAnotherKindIsNot", kTold + "expect host life text=\"one two\" within 10ms",
     "line 4: the host never said: life text=\"one two\""},
    {"EventOfAnotherValueIsNot", kTold + "expect host log level=3 within 10ms",
     "line 4: the host never said: log level=3"},
    {"PartOfTheValueIsNot", kTold + "expect host log text=one within 10ms",
     "line 4: the host never said: log text=one"},
    {"ValueWithoutThePartIsNot", kTold + "expect host log text~three within 10ms",
     "line 4: the host never said: log text~three"},
    {"EventWithoutTheKeyIsNot", kTold + "expect host log level=4 source~4 within 10ms",
     "line 4: the host never said: log level=4 source~4"},
    {"EventMayComeLater", kLater + "expect host log within 20s"},
    {"EventMayNotComeTooLate", kLater + "expect host log within 50ms",
     "line 4: the host never said: log"},
    {"EventServesOneExpectation",
     "start host; host log; host log; expect host log; expect host log; "
     "expect host log within 10ms",
     "line 7: the host never said: log"},
    {"OrderWithinAStepDoesNotMatter",
     "start host; host log text=a; host log text=b; expect host log text=b; "
     "expect host log text=a"},
    {"StepBeginsBehindTheLastEventThatAnEarlierOneExpected",
     "start host; host log text=a; host log text=b; host log text=c; expect host log text=b; "
     "step two; expect host log text=c"},
    {"EventBeforeThatIsNotOfTheStep",
     "start host; host log text=a; host log text=b; host log text=c; expect host log text=b; "
     "step two; expect host log text=a within 10ms",
     "line 8: the host never said: log text=a"},
    {"StepsOfTwoActorsBeginEachBehindItsOwnEvents",
     "start host; start product; host log text=a; product did action=a; "
     "expect product did action=a; step two; expect host log text=a"},
    {"FieldsOfANamedEventStandInLaterStatements",
     "start product; start host; product started pid=77; expect product started as victim; "
     "host log text=$victim.pid; expect host log text=77; product started pid=78; "
     "expect product started as victim; never host log text=$victim.pid; "
     "start host --kill=$victim.pid; expect host answer text=--kill=78"},
    {"NameWithoutValueFails", "start host; host log text=$victim.pid; quit host",
     "line 3: $victim.pid has no value yet"},
    {"EventWithoutSenseFails", "start host; host mined records=x; expect host log within 20s",
     "line 4: cannot make use of what the host tells, 'x' is not a number: mined records=x"},
    {"EventOfWhichNoTableTellsFails", "start host; host log txet=a; expect host log within 20s",
     "line 4: cannot make use of what the host tells, \"txet\" is no key of the host's log: "
     "log txet=a"},
};
INSTANTIATE_TEST_SUITE_P(Expect, PlayedTest, ValuesIn(kExpectations),
                         [](const auto& row) { return row.param.name; });

// What `then` compares are the stamps that the programs give.
const std::string kWaited =
    "start host; host log text=a at=1000000000; host life at=1250000000; expect host log; ";
const Played kOrders[] = {
    {"HoldsForAnEventToldAfterTheOneBeforeByEitherActor",
     "start host; start product; product did action=a at=7; expect product did action=a; "
     "host log text=a at=6; host log text=a at=8; then host log text=a; host life at=9; "
     "then host life"},
    {"FailsForAnEventToldBefore",
     "start host; start product; host log text=a at=6; product did action=a at=7; "
     "expect product did; then host log text=a within 50ms",
     "line 7: the host never said, after that: log text=a"},
    {"FailsForAnEventToldAtTheSameMoment",
     "start host; start product; host log text=a at=7; product did action=a at=7; "
     "expect product did; then host log text=a within 50ms",
     "line 7: the host never said, after that: log text=a"},
    {"FailsWhereNoStampTellsTheOrder",
     "start host; host log text=a; host life at=9; expect host log; then host life",
     "line 6: the event before has no stamp to be compared"},
    {"HoldsForAWaitThatWasTaken", kWaited + "then host life after 250ms"},
    {"FailsForAShorterWait", kWaited + "then host life after 251ms",
     "line 6: the host said so after 250 ms already: life"},
};
INSTANTIATE_TEST_SUITE_P(Then, PlayedTest, ValuesIn(kOrders),
                         [](const auto& row) { return row.param.name; });

const std::string kForbidden =
    "start host; only host deliver log level=4; host log level=4; host life; expect host life";
const std::string kError = "start host; host error command=kil; host life; expect host life";
const Played kForbiddenOnes[] = {
    {"NeverHoldsWhereNoSuchEventWasTold",
     "start host; host log level=2; expect host log level=2; never host log level=4"},
    {"NeverFailsOnSuchAnEventOfTheStep",
     "start host; host log level=4; host life; expect host life; never host log level=4",
     "line 6: the host said: log level=4"},
    {"NeverPassesOverWhatWasExpectedAndEarlierSteps",
     "start host; host log text=a; host log text=b; expect host log text=b; step two; "
     "host log text=c; expect host log text=c; never host log"},
    {"OnlyHoldsWhereNothingElseOfItsKindsWasTold",
     "start host; host log level=4; host log level=2; host life; only host log level=4 deliver; "
     "expect host log level=4; expect host life"},
    {"OnlyFailsForWhatIsToldBehindIt", kForbidden, "line 3: the host said: log level=4"},
    {"OnlyFailsBeforeTheNextStep", kForbidden + "; step two; quit host",
     "line 3: the host said: log level=4"},
    {"OnlyFailsBeforeTheNextStart", kForbidden + "; start host",
     "line 3: the host said: log level=4"},
    {"OnlyHoldsForItsOwnStep",
     "start host; only host log; host life; expect host life; step two; host log; "
     "expect host log; host log; quit host"},
    {"ErrorThatNobodyExpectedFailsTheStep", kError, "line 5: the host said: error"},
    {"ErrorFailsBeforeTheNextStep", kError + "; step two; quit host",
     "line 5: the host said: error"},
    {"ErrorFailsBeforeTheNextStart", kError + "; start host", "line 6: the host said: error"},
    {"ErrorIsToldRatherThanWhatDidNotComeForIt", kError + "; expect host log within 10ms",
     "line 6: the host said: error"},
    {"ErrorMayBeExpected", kError + "; expect host error command=kil"},
};
INSTANTIATE_TEST_SUITE_P(Forbidden, PlayedTest, ValuesIn(kForbiddenOnes),
                         [](const auto& row) { return row.param.name; });

// A process that ends unasked fails the scenario, and at once.
const Played kLives[] = {
    {"HostIsStartedWithItsFilesAndTheArgumentsOfTheScenario",
     "start host --memory $folder/kept; expect host answer text=--library=the-library; "
     "expect host answer text~--database=; expect host answer text~--log=; "
     "expect host answer text=--memory; expect host answer text~work/kept"},
    {"ProductIsStartedWithItsVictim",
     "start product --nothing-new; expect product answer text~--victim=; "
     "expect product answer text=--nothing-new; never product answer text=--wire"},
    {"ProcessThatIsStartedAnewEndsTheEarlierOne",
     "start host; host log text=earlier; expect host log text=earlier; start host; "
     "host log text=later; expect host log text=later; never host log text=earlier"},
    {"KilledProcessSaysNothingMore",
     "start host; host log text=a; expect host log text=a; kill host; never host log; "
     "start host; quit host"},
    {"GoneHoldsByWhateverWayTheProcessEnds", "start host; host end 3; gone host"},
    {"GoneFailsOnAProcessThatLives", "start host; gone host within 50ms",
     "line 3: the host is still there"},
    {"QuitHoldsForCodeZero", "start product; quit product"},
    {"QuitFailsForAnotherCode", "start product; product code 3; quit product",
     "line 4: the product ended with code 3"},
    {"WhatAProcessTellsAtItsEndCanBeExpected",
     "start host; host after 100 log text=last; quit host; "
     "expect host log text=last within 10ms"},
    {"UnaskedEndFailsTheExpectationOfItsEvent",
     "start host; host end 3; expect host log within 20s",
     "line 4: the host has ended unasked, with code 3"},
    {"UnaskedEndFailsTheExpectationOfAnothersEvent",
     "start host; start product; host end 0; expect product did within 20s",
     "line 5: the host has ended unasked, with code 0"},
    {"UnaskedEndFailsAWait",
     "start host; host end 3; wait 20s for nothing; never host log; quit host",
     "line 4: the host has ended unasked, with code 3"},
    {"UnaskedEndFailsTheWaitForAnothersEnd",
     "start host; start product; host after 200 end 3; gone product within 20s",
     "line 5: the host has ended unasked, with code 3"},
    {"ProcessThatMustBeGoneMayEndBefore",
     "start host; host end 3; wait 300ms until it has ended; gone host; start host; quit host"},
    {"ExpectationOfAProcessThatHasQuitFails", "start host; quit host; expect host log within 20s",
     "line 4: the host never said: log"},
    {"WaitGivesWhatNeverForbidsTimeToHappen",
     "start host; host life; expect host life; host after 100 log; wait 1s for it; "
     "never host log",
     "line 7: the host said: log"},
    {"CountdownDoesNotMakeTheExpectationWaitLonger",
     "start host; countdown 20s until it logs; expect host log within 50ms",
     "line 4: the host never said: log"},
};
INSTANTIATE_TEST_SUITE_P(Life, PlayedTest, ValuesIn(kLives),
                         [](const auto& row) { return row.param.name; });

class RunnerTest : public RunnerFixture, public ::testing::Test {};

TEST_F(RunnerTest, OptionsForEveryHostReachIt) {
    stage_.hostOptions = {"--port-layer"};
    EXPECT_EQ(Play("start host $folder/kept; expect host answer text=--port-layer; "
                   "expect host answer text=" +
                   stage_.work + "/kept"),
              kHeld);
}

TEST_F(RunnerTest, ProgramThatIsMissingFails) {
    boost::filesystem::remove(folder_.Program("devhost"));
    EXPECT_EQ(Play("start host; quit host"),
              "line 2: cannot start " + folder_.Program("devhost") + ": there is no such file");
}

TEST_F(RunnerTest, WhatWasNeverStartedFailsEveryStatement) {
    for (const char* const statement :
         {"expect host log", "never host log", "gone host", "quit host", "kill host; quit host",
          "host log; quit host"}) {
        EXPECT_EQ(Play(statement), "line 2: the host has not been started") << statement;
    }
}

TEST_F(RunnerTest, FailureShowsTheNearestEventAndTheLastTen) {
    std::string told = "start host; host log level=4 text=a; host log level=2 text=b; ";
    for (int i = 0; i < 10; ++i) {
        told += "host life call=" + std::to_string(i) + "; ";
    }
    Play(told + "expect host life call=9; expect host log level=4 text=b source~c within 10ms");
    const std::string margin = "                ";
    std::string expected = "nearest: log level=2 text=b\n" + margin + "the last that was told:\n";
    for (int i = 0; i < 10; ++i) {
        expected += margin + "  00:00:00.000 life call=" + std::to_string(i) + "\n";
    }
    EXPECT_THAT(screen_.str(), HasSubstr(expected));
}

TEST_F(RunnerTest, FailureShowsWhyTheNearestEventIsNone) {
    Play(
        "start host; host log text=a at=7; host life at=7; expect host life; "
        "then host log text=a within 50ms");
    EXPECT_THAT(screen_.str(), HasSubstr("nearest, at another moment: log text=a\n"));
    Play(kError);
    EXPECT_THAT(screen_.str(), HasSubstr("it was: error command=kil\n"));
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
         {"expect host log text=a within 20s", "wait 20s x; quit host", "gone host within 20s"}) {
        const CInterruption interruption;
        CImpatientTerminal terminal;
        static_cast<std::ostream&>(screen_).rdbuf(&terminal);
        EXPECT_LT(TimeOf("step one; start host; host after 100 log text=now; " + std::string(wait),
                         "line 5: interrupted"),
                  kAtOnce);
    }
    static_cast<std::ostream&>(screen_).rdbuf(nullptr);
}

TEST_F(RunnerTest, WaitLetsItsTimeGoBy) {
    EXPECT_GE(TimeOf("start host; wait 250ms for nothing; never host log", kHeld),
              std::chrono::milliseconds(250));
    EXPECT_THAT(screen_.str(), HasSubstr("for nothing"));
}

TEST_F(RunnerTest, CountdownIsShownWhileTheNextExpectationIsAwaited) {
    EXPECT_EQ(Play("start host; host after 100 log; countdown 10s until it logs; expect host log"),
              kHeld);
    EXPECT_THAT(screen_.str(), ContainsRegex(" s +until it logs"));
}

TEST_F(RunnerTest, EachStepIsPlayedUpToTheFirstThatFails) {
    Play(
        "start host; step one; host log; expect host log; step two; "
        "expect host log within 10ms; step three; quit host");
    const auto step = [](const char* text, LifePage::Step::End end) {
        return AllOf(Field(&LifePage::Step::text, text), Field(&LifePage::Step::end, end));
    };
    EXPECT_THAT(steps_, ElementsAre(step("one", LifePage::Step::End::kHeld),
                                    step("two", LifePage::Step::End::kFailed)));
}

TEST_F(RunnerTest, FailureBeforeTheFirstStepIsOneToo) {
    Play("start host; expect host log within 10ms");
    ASSERT_EQ(steps_.size(), 1U);
    EXPECT_EQ(steps_[0].text, "before the first step");
    EXPECT_EQ(steps_[0].end, LifePage::Step::End::kFailed);
    EXPECT_EQ(steps_[0].failure, "line 3: the host never said: log");
}

TEST_F(RunnerTest, WhatIsToldStandsInTheTranscript) {
    Play("start host; host log text=\"a b\"; expect host log");
    EXPECT_THAT(ReadFile(folder_.File("work/transcript.txt")),
                HasSubstr("00:00:00.000 host log text=\"a b\"\n"));
}

/// A run whose neutral transcript is compared.
class TranscriptTest : public RunnerTest {
  protected:
    TranscriptTest() { options_.transcript = folder_.File("known.txt"); }

    const std::string told_ = "start host; host log text=a; expect host log text=a; quit host";
};

TEST_F(TranscriptTest, KnownOneHolds) {
    folder_.Write("known.txt", "host 1: log text=a\n");
    EXPECT_EQ(Play(told_), kHeld);
    ASSERT_EQ(steps_.size(), 1U);
    EXPECT_EQ(steps_[0].text, "Bus messages, log lines and wire bytes are those of every run");
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
    EXPECT_EQ(Play("start product; expect product answer text=--wire"), kHeld);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
