// Disks that are full. Elsewhere nothing stands in for one.
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <boost/filesystem/operations.hpp>

#include "tests/lab/devhost/ProgramTest.h"

namespace Kyr::Test {
namespace {

using ::testing::HasSubstr;

TEST_F(ProgramTest, LogOnAFullDiskIsToldOnceAndByTheExitCode) {
    Launch("/dev/full");
    process_->EndInput();
    EXPECT_EQ(process_->Complaints(),
              "cannot write the log file /dev/full: No space left on device\n");
    EXPECT_EQ(process_->Wait(), 4);
}

TEST_F(ProgramTest, DatabaseThatMayNotGrowIsToldByTheExitCode) {
    // The program's files end behind so many bytes: behind the tables, before the value.
    rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {256 * 1024, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Launch();
    ::setrlimit(RLIMIT_FSIZE, &before);
    process_->Say("set XDR_OFFSET " + std::string(512 * 1024, '1'));
    EXPECT_THAT(process_->ReadUntil("refused the value"), HasSubstr("error"));
    process_->EndInput();
    const std::string complaints = process_->Complaints();
    EXPECT_EQ(process_->Wait(), 5);
    EXPECT_THAT(complaints, HasSubstr(folder_.File("host.db")));
}

TEST_F(ProgramTest, RunDirectoryThatOthersMayEnterIsToldWithItsPathAndEndsTheProgramWithOne) {
    const std::string directory = folder_.File("run");
    boost::filesystem::create_directory(directory);
    boost::filesystem::permissions(directory, boost::filesystem::all_all);
    ::setenv("KELCOMM_RUNTIME_DIR", directory.c_str(), 1);
    Launch();
    EXPECT_THAT(
        process_->ReadUntil("error"),
        HasSubstr(" error text=\"" + directory + ": others may use it: its mode must be 0700\""));
    EXPECT_EQ(process_->ReadUntil("error"), "");
    EXPECT_EQ(process_->Wait(), 1);
}

TEST_F(ProgramTest, RunDirectoryThatIsYetToBeMadeIsNoError) {
    ::setenv("KELCOMM_RUNTIME_DIR", folder_.File("run").c_str(), 1);
    Launch();
    process_->EndInput();
    EXPECT_EQ(process_->ReadUntil("error"), "");
    EXPECT_EQ(process_->Wait(), 0);
}

}  // namespace
}  // namespace Kyr::Test
