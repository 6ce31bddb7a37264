#include <fstream>
#include <gmock/gmock.h>

#include "lab/simproduct/processes/LabProcesses.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/simproduct/FakeLauncher.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

const Program kProgram{"/lab/victim", "s1", "s2"};

class LabProcessesTest : public ::testing::Test {
  protected:
    bool Kill(std::uint64_t pid) {
        return processes_.Kill(pid, [] {});
    }

    CLineList lines_;
    CFakeLauncher launcher_;
    CLabProcesses processes_{launcher_, lines_.Sink()};
};

TEST_F(LabProcessesTest, ObserverHearsOfTheStartAndTheEndOfWhatWasStartedHere) {
    std::vector<std::string> heard;
    processes_.Observe([&](const LabProcess& process) {
        heard.push_back(process.name + (process.running ? " runs" : " has ended"));
    });
    processes_.Start("one", kProgram, {});
    processes_.Adopt("old", kProgram, 77);
    processes_.EndAll();

    EXPECT_THAT(heard, ElementsAre("one runs", "one has ended"));
}

TEST_F(LabProcessesTest, AdoptedProcessIsToldKilledAndRemembered) {
    processes_.Adopt("old", kProgram, 77);

    EXPECT_THAT(launcher_.launches, ElementsAre("/lab/victim #77"));
    EXPECT_TRUE(Kill(77));
    processes_.EndAll();
    EXPECT_THAT(lines_.Take(), ElementsAre("adopted pid=77 name=old program=/lab/victim sha256=s2",
                                           "ended pid=77 name=old by=kill-request"));
    EXPECT_FALSE(processes_.Find(77)->running);
}

TEST_F(LabProcessesTest, ProcessThatEndsByItselfSaysSoAndIsNotKilled) {
    processes_.Start("one", kProgram, {});
    lines_.Take();

    launcher_.End(1000);
    EXPECT_FALSE(Kill(1000));
    processes_.EndAll();

    EXPECT_THAT(lines_.Take(), ElementsAre("ended pid=1000 name=one by=itself"));
}

TEST_F(LabProcessesTest, StrangerIsNeitherFoundNorKilled) {
    processes_.Start("one", kProgram, {});

    EXPECT_FALSE(processes_.Find(999).has_value());
    EXPECT_FALSE(Kill(999));
}

TEST_F(LabProcessesTest, NameIsFreeAgainOnceItsProcessHasEnded) {
    processes_.Start("one", kProgram, {});

    EXPECT_THROW(processes_.Start("one", kProgram, {}), std::runtime_error);
    EXPECT_EQ(1u, launcher_.launches.size());
    processes_.EndAll();
    EXPECT_EQ(1001u, processes_.Start("one", kProgram, {}).pid);
}

TEST_F(LabProcessesTest, NumberUsedAgainNamesTheLatestProcess) {
    processes_.Start("one", kProgram, {});
    processes_.EndAll();
    launcher_.SetNextPid(1000);
    processes_.Start("two", kProgram, {});

    EXPECT_EQ("two", processes_.Find(1000)->name);
    EXPECT_TRUE(Kill(1000));
}

TEST_F(LabProcessesTest, EndAllEndsEveryProcess) {
    processes_.Start("one", kProgram, {});
    processes_.Start("two", kProgram, {});
    lines_.Take();

    processes_.EndAll();

    EXPECT_THAT(lines_.Take(),
                ::testing::UnorderedElementsAre("ended pid=1000 name=one by=product",
                                                "ended pid=1001 name=two by=product"));
}

TEST(ProgramTest, DigestsAreLowerCaseHexadecimal) {
    const Kyr::Test::CTemporaryFolder folder;
    std::ofstream(folder.File("abc"), std::ios::binary) << "abc";

    const Program program = ReadProgram(folder.File("abc"));

    EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", program.sha1);
    EXPECT_EQ("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", program.sha256);
    EXPECT_EQ(folder.File("abc"), program.path);
    std::ofstream(folder.File("empty")) << "";
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", ReadProgram(folder.File("empty")).sha1);
    EXPECT_THROW(ReadProgram(folder.File("none")), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
