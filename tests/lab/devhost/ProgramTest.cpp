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

TEST_F(ProgramTest, EndOfInputAndQuitStopTheModuleInOrder) {
    for (const bool quits : {false, true}) {
        Launch();
        if (quits) {
            process_->Say("quit");
        } else {
            process_->EndInput();
        }
        EXPECT_THAT(process_->ReadUntil("call=destroy"), HasSubstr("result=ok"));
        EXPECT_EQ(process_->Wait(), 0);
    }
}

TEST_F(ProgramTest, ValueAndIdentifierSurviveThatTheHostIsKilled) {
    Launch();
    process_->Say("set XDR_OFFSET 17");
    ASSERT_THAT(process_->ReadUntil("answer command=set"), HasSubstr("value=17"));
    process_->Say("dump");
    const std::string dump = process_->ReadUntil("instance=");
    process_->Kill();
    CDatabase database(folder_.File("host.db"));
    EXPECT_EQ(database.GetValue("XDR_OFFSET"), "17");
    EXPECT_THAT(dump, HasSubstr("instance=" + database.InstanceUuid()));
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

TEST_F(ProgramTest, WhatCannotStartSaysWhyAndEndsTheProgramWithACodeOfItsOwn) {
    const std::string library = std::string("--library=") + KYR_LIBRARY_PATH;
    const std::string absent = folder_.File("absent");
    const struct {
        std::vector<std::string> arguments;
        int code;
        std::string complaint;
    } kRows[] = {
        {{library, "--database=" + absent + "/host.db"}, 5, absent},
        {{"--library=" + absent}, 1, absent},
        {{}, 2, "--library"},
        {{library, "--tell=read,reads"}, 2, "no such kind told on demand: \"reads\"; there are "},
        {{library, "--tell", "read", "write"}, 2, "write"},
        {{library, "--die-at=after-lunch"}, 2, "before-request"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.complaint);
        std::vector<std::string> arguments = {"--database=" + folder_.File("host.db"),
                                              "--log=" + folder_.File("host.log")};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        CDevHostProcess process(arguments);
        EXPECT_THAT(process.Complaints(), HasSubstr(row.complaint));
        EXPECT_EQ(process.Wait(), row.code);
        EXPECT_FALSE(std::filesystem::exists(folder_.File("host.db")));
        EXPECT_FALSE(std::filesystem::exists(folder_.File("host.log")));
    }
}

}  // namespace
}  // namespace Kyr::Test
