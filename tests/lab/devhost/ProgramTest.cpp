#include "tests/lab/devhost/ProgramTest.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>

#include "lab/devhost/database/Database.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CDatabase;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST_F(ProgramTest, EndOfInputStopsTheModuleInOrder) {
    Launch();
    process_->EndInput();
    EXPECT_THAT(process_->ReadUntil("call=destroy"), HasSubstr("result=ok"));
    EXPECT_EQ(process_->Wait(), 0);
}

TEST_F(ProgramTest, QuitEndsTheProgram) {
    Launch();
    process_->Say("quit");
    EXPECT_THAT(process_->ReadUntil("call=destroy"), HasSubstr("result=ok"));
    EXPECT_EQ(process_->Wait(), 0);
}

TEST_F(ProgramTest, ValueSurvivesThatTheHostIsKilled) {
    Launch();
    process_->Say("set XDR_OFFSET 17");
    ASSERT_THAT(process_->ReadUntil("answer command=set"), HasSubstr("value=17"));
    process_->Kill();
    EXPECT_EQ(CDatabase(folder_.File("host.db")).GetValue("XDR_OFFSET"), "17");
}

TEST_F(ProgramTest, KilledHostStartsAgainWithTheSameIdentifier) {
    Launch();
    process_->Say("dump");
    const std::string first = process_->ReadUntil("instance=");
    process_->Kill();
    Launch();
    process_->Say("dump");
    const std::string second = process_->ReadUntil("instance=");
    process_->EndInput();
    process_->Wait();
    ASSERT_THAT(first, HasSubstr("instance="));
    const std::size_t length = sizeof("instance=12345678-1234-1234-1234-123456789012") - 1;
    EXPECT_EQ(first.substr(first.find("instance="), length),
              second.substr(second.find("instance="), length));
}

TEST_F(ProgramTest, SecondHostOnADatabaseIsRefused) {
    Launch();
    process_->ReadUntil("ready");
    const auto first = std::move(process_);
    Launch();
    process_->EndInput();  // one that is not refused ends, too
    const std::string complaints = process_->Complaints();
    EXPECT_EQ(process_->Wait(), 5);
    EXPECT_THAT(complaints,
                HasSubstr("devhost: another devhost uses the database " + folder_.File("host.db")));
    first->EndInput();
    EXPECT_EQ(first->Wait(), 0);
}

TEST_F(ProgramTest, OutputThatNobodyReadsIsToldOnceAndByTheExitCode) {
    Launch();
    process_->ReadUntil("ready");
    process_->LeaveOutput();
    process_->EndInput();
    const std::string complaints = process_->Complaints();
    EXPECT_EQ(process_->Wait(), 4);
    EXPECT_THAT(complaints, StartsWith("cannot write standard output: "));
    EXPECT_EQ(std::count(complaints.begin(), complaints.end(), '\n'), 1);
}

TEST_F(ProgramTest, DatabaseThatCannotBeOpenedEndsTheProgramWithFive) {
    const std::string database = folder_.File("absent/host.db");
    CDevHostProcess process({std::string("--library=") + KYR_LIBRARY_PATH, "--database=" + database,
                             "--log=" + folder_.File("host.log")});
    const std::string complaints = process.Complaints();
    EXPECT_EQ(process.Wait(), 5);
    EXPECT_THAT(complaints, HasSubstr(database));
}

TEST_F(ProgramTest, MissingLibraryOptionEndsTheProgramWithTwo) {
    EXPECT_EQ(CDevHostProcess({}).Wait(), 2);
}

TEST_F(ProgramTest, HelpEndsTheProgramWithoutStarting) {
    CDevHostProcess process({"--help"});
    EXPECT_THAT(process.ReadUntil("--library"), HasSubstr("REQUIRED"));
    EXPECT_EQ(process.Wait(), 0);
}

TEST_F(ProgramTest, LibraryThatCannotBeLoadedEndsTheProgramWithOneAndLeavesNoFiles) {
    CDevHostProcess process({"--library=" + folder_.File("absent"),
                             "--database=" + folder_.File("host.db"),
                             "--log=" + folder_.File("host.log")});
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_FALSE(std::filesystem::exists(folder_.File("host.db")));
    EXPECT_FALSE(std::filesystem::exists(folder_.File("host.log")));
}

}  // namespace
}  // namespace Kyr::Test
