// The program itself: what it ends with, and what it prints.
#include <chrono>
#include <gmock/gmock.h>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "lab/runner/Actor.h"
#include "lab/runner/ReadFile.h"
#include "lab/runner/WorkFolder.h"
#include "tests/lab/runner/ParrotFolder.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::chrono::seconds kRunPatience(60);

class LabrunnerTest : public ::testing::Test {
  protected:
    /// Runs the program and tells its exit code; nothing when it does not end.
    std::optional<int> Run(std::vector<std::string> arguments) {
        std::ostringstream printed;
        std::optional<int> code;
        {
            CActor labrunner("labrunner", KYR_LABRUNNER, arguments, environment_,
                             [&printed](const std::string&, const TimedLine& line) {
                                 const std::string* const text = line.line.Find("text");
                                 printed << (text == nullptr ? "" : *text) << '\n';
                             });
            code = labrunner.AwaitEnd(kRunPatience);
        }
        printed_ = printed.str();
        return code;
    }

    std::optional<int> Play(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--programs=" + folder_.Path(),
                                             "--library=the-library", "--colour=never"});
        arguments.insert(arguments.begin(), workOption_.begin(), workOption_.end());
        return Run(std::move(arguments));
    }

    const CParrotFolder folder_;
    const std::string held_ = folder_.Write("held.scenario",
                                            "title It holds\nstart host\nstep One\n"
                                            "host mined records=5\nexpect host mined\n"
                                            "quit host\n");
    const std::string failed_ = folder_.Write("failed.scenario",
                                              "title It fails\nstart host\nstep Two\n"
                                              "never host answer\n"
                                              "expect host log within 10ms\n");
    std::vector<std::string> workOption_{"--work=" + folder_.File("work")};
    CActor::Environment environment_;
    std::string printed_;
};

TEST_F(LabrunnerTest, ScenarioThatHoldsEndsItWithZero) {
    EXPECT_EQ(Play({held_}), 0);
    EXPECT_THAT(printed_, ContainsRegex("\nIt holds\n  One +as expected "));
    EXPECT_THAT(printed_, ContainsRegex("  Records stored +5\n"));
    const boost::filesystem::path work = folder_.File("work");
    EXPECT_THAT(printed_, HasSubstr("are left in " + (work / "held").string()));
}

TEST_F(LabrunnerTest, ReportShowsWhatWasPlayedAlsoWhenItFailed) {
    const std::string page = folder_.File("page.html");
    EXPECT_EQ(Play({"--report=" + page, held_, failed_}), 1);
    EXPECT_THAT(printed_, ContainsRegex("\nIt holds\n  One +as expected "));
    EXPECT_THAT(printed_, ContainsRegex("\nIt fails\n  Two +FAILED "));
    EXPECT_THAT(printed_, testing::EndsWith("To look at in a browser: " + page + "\n"));
    const std::string written = ReadFile(page);
    EXPECT_THAT(written, HasSubstr("\"title\":\"It holds\""));
    EXPECT_THAT(written, HasSubstr("\"text\":\"mined records=5\""));
    EXPECT_THAT(written, HasSubstr("\"text\":\"Two\",\"held\":false"));
}

TEST_F(LabrunnerTest, ReportThatCannotBeWrittenEndsItWithTwo) {
    EXPECT_EQ(Play({"--report=" + folder_.File("no/page.html"), held_}), 2);
}

TEST_F(LabrunnerTest, ProgramThatPlaysTheProductCanBeAnother) {
    boost::filesystem::rename(folder_.Program("simproduct"), folder_.Program("another"));
    const std::string scenario =
        folder_.Write("one.scenario", "title One\nstart product\nquit product\n");
    EXPECT_EQ(Play({scenario}), 1);
    EXPECT_EQ(Play({"--product=another", scenario}), 0);
}

TEST_F(LabrunnerTest, FolderThatIsNotItsOwnStaysAsItIs) {
    boost::filesystem::create_directories(folder_.File("work/held"));
    folder_.Write("work/held/letter", "dear");
    EXPECT_EQ(Play({held_}), 2);
    EXPECT_EQ(ReadFile(folder_.File("work/held/letter")), "dear");
}

TEST_F(LabrunnerTest, OwnFolderIsEmptiedForTheNextRun) {
    EXPECT_EQ(Play({held_}), 0);
    folder_.Write("work/held/letter", "dear");
    EXPECT_EQ(Play({held_}), 0);
    EXPECT_FALSE(boost::filesystem::exists(folder_.File("work/held/letter")));
}

TEST_F(LabrunnerTest, SecondOneInTheSameFolderIsRefused) {
    const CWorkFolder first(folder_.File("work"));
    EXPECT_EQ(Play({held_}), 2);
}

TEST_F(LabrunnerTest, FolderOfARunOfWhichNobodyToldThePlaceStaysOnlyIfItFailed) {
    const std::string runs = folder_.File("runs");
    const auto left = [&] {
        return std::distance(boost::filesystem::directory_iterator(runs), {});
    };
    workOption_ = {};
    environment_ = {{"KYR_LAB_FOLDER", runs}};
    EXPECT_EQ(Play({held_}), 0);
    EXPECT_EQ(left(), 0);
    EXPECT_THAT(printed_, Not(HasSubstr("are left in")));
    EXPECT_EQ(Play({failed_}), 1);
    EXPECT_EQ(left(), 1);
    EXPECT_THAT(printed_, HasSubstr("are left in " + runs));
}

TEST_F(LabrunnerTest, TranscriptAndLogBeginWithDateVersionAndCommandLine) {
    EXPECT_EQ(Play({held_}), 0);
    for (const char* const file : {"work/held/transcript.txt", "work/held/host.log"}) {
        const std::string text = ReadFile(folder_.File(file));
        const std::string heading = text.substr(0, text.find_first_of("\r\n"));
        EXPECT_THAT(heading, ContainsRegex("^# 2...-..-..T..:..:..Z labrunner .*: .*labrunner"));
        EXPECT_THAT(heading, EndsWith(" " + held_));
    }
}

#ifndef _WIN32
TEST_F(LabrunnerTest, InterruptedOneShowsWhatItHasAndPlaysNothingMore) {
    const std::string two = folder_.Write("two.scenario",
                                          "title Two\nstart host\nstep First\nhost life\n"
                                          "expect host life\nstep Second\nhost interrupt\n"
                                          "gone host within 60s\n");
    EXPECT_EQ(Play({two, held_}), 1);
    EXPECT_THAT(printed_, ContainsRegex("  First +as expected "));
    EXPECT_THAT(printed_, ContainsRegex("  Second +FAILED .*\n +line 8: interrupted"));
    EXPECT_THAT(printed_, HasSubstr("are left in "));
    EXPECT_THAT(printed_, Not(HasSubstr("It holds")));
}
#endif

TEST_F(LabrunnerTest, OneThatFailsAmongSeveralEndsItWithOne) {
    EXPECT_EQ(Play({"--quiet", failed_, held_}), 1);
    EXPECT_THAT(printed_, ContainsRegex("  Two +FAILED "));
    EXPECT_THAT(printed_, ContainsRegex("  One +as expected "));
    EXPECT_THAT(printed_, Not(HasSubstr("1. One")));  // what --quiet leaves out
}

TEST_F(LabrunnerTest, KnownTranscriptIsTheOneWithTheScenariosName) {
    const std::string transcripts = folder_.File("transcripts");
    boost::filesystem::create_directory(transcripts);
    EXPECT_EQ(Play({"--transcripts=" + transcripts, held_}), 1);
    folder_.Write("transcripts/held.txt", "");
    EXPECT_EQ(Play({"--transcripts=" + transcripts, held_}), 0);
}

TEST_F(LabrunnerTest, BadUsageEndsItWithTwo) {
    EXPECT_EQ(Run({}), 2);
    EXPECT_EQ(Play({}), 2);
    EXPECT_EQ(Run({"--programs=" + folder_.Path(), held_}), 2);
    EXPECT_EQ(Run({"--library=the-library", held_}), 2);
    EXPECT_EQ(Play({"--loud", held_}), 2);
    EXPECT_EQ(Play({"--colour=blue", held_}), 2);
}

TEST_F(LabrunnerTest, FileThatIsNoScenarioEndsItBeforeAnythingIsPlayed) {
    EXPECT_EQ(Play({held_, folder_.File("missing.scenario")}), 2);
    EXPECT_EQ(Play({held_, folder_.Write("empty.scenario", "")}), 2);
    EXPECT_EQ(Play({held_, folder_.Write("title.scenario", "title Nothing\n")}), 2);
    EXPECT_THAT(printed_, Not(HasSubstr("It holds")));
    EXPECT_FALSE(boost::filesystem::exists(folder_.File("work")));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
