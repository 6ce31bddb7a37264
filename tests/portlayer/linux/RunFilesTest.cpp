#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using NtApi::kStatusAccessDenied;
using NtApi::kStatusObjectNameNotFound;
using NtApi::kStatusSuccess;
using PortLayer::ReadRunFile;
using PortLayer::RemoveRunFile;
using PortLayer::WriteRunFile;

class RunFilesTest : public testing::Test {
  protected:
    RunFilesTest() { ::setenv("KELCOMM_RUNTIME_DIR", directory_.c_str(), 1); }
    ~RunFilesTest() override { ::unsetenv("KELCOMM_RUNTIME_DIR"); }

    CTemporaryFolder folder_;
    const std::string directory_ = folder_.File("run");  // not there yet
    std::string text_ = "untouched";
};

TEST_F(RunFilesTest, TextIsReadAsItWasWritten) {
    EXPECT_EQ(WriteRunFile("name", "5600"), kStatusSuccess);
    EXPECT_EQ(ReadRunFile("name", text_), kStatusSuccess);
    EXPECT_EQ(text_, "5600");
}

TEST_F(RunFilesTest, WritingAgainReplacesTheWholeText) {
    WriteRunFile("name", "a long text");
    WriteRunFile("name", "b");
    EXPECT_EQ(ReadRunFile("name", text_), kStatusSuccess);
    EXPECT_EQ(text_, "b");
}

TEST_F(RunFilesTest, WritingLeavesNoDraftBehind) {
    WriteRunFile("name", "5600");
    const boost::filesystem::directory_iterator files(directory_);
    EXPECT_EQ(std::distance(files, boost::filesystem::directory_iterator()), 1);
}

TEST_F(RunFilesTest, WithoutADirectoryThereIsNoText) {
    EXPECT_EQ(ReadRunFile("name", text_), kStatusObjectNameNotFound);
    EXPECT_EQ(RemoveRunFile("name"), kStatusObjectNameNotFound);
    EXPECT_EQ(text_, "untouched");
}

TEST_F(RunFilesTest, RemovedTextIsGone) {
    WriteRunFile("name", "5600");
    EXPECT_EQ(RemoveRunFile("name"), kStatusSuccess);
    EXPECT_EQ(ReadRunFile("name", text_), kStatusObjectNameNotFound);
}

TEST_F(RunFilesTest, DirectoryThatOthersMayEnterIsRefused) {
    WriteRunFile("name", "5600");
    ::chmod(directory_.c_str(), 0755);
    EXPECT_EQ(ReadRunFile("name", text_), kStatusAccessDenied);
    EXPECT_EQ(WriteRunFile("name", "1"), kStatusAccessDenied);
    EXPECT_EQ(RemoveRunFile("name"), kStatusAccessDenied);
    EXPECT_EQ(PortLayer::LastFailure(), directory_ + ": others may use it: its mode must be 0700");
}

TEST_F(RunFilesTest, DirectoryThatCannotBeMadeIsNoMissingText) {
    ::setenv("KELCOMM_RUNTIME_DIR", folder_.File("no/run").c_str(), 1);
    EXPECT_EQ(ReadRunFile("name", text_), kStatusObjectNameNotFound);
    EXPECT_EQ(WriteRunFile("name", "1"), NtApi::kStatusObjectPathNotFound);
    EXPECT_EQ(RemoveRunFile("name"), NtApi::kStatusObjectPathNotFound);
    EXPECT_EQ(PortLayer::LastFailure(), folder_.File("no/run: No such file or directory"));
}

TEST_F(RunFilesTest, LinkIsNotFollowed) {
    WriteRunFile("name", "5600");
    boost::filesystem::create_symlink(directory_ + "/name", directory_ + "/link");
    EXPECT_EQ(ReadRunFile("link", text_), kStatusAccessDenied);
}

TEST_F(RunFilesTest, FolderIsNoText) {
    WriteRunFile("name", "5600");
    boost::filesystem::create_directory(directory_ + "/folder");
    EXPECT_EQ(ReadRunFile("folder", text_), kStatusAccessDenied);
}

TEST_F(RunFilesTest, LongestTextIsReadAndALongerOneRefused) {
    WriteRunFile("name", std::string(4096, 'x'));
    EXPECT_EQ(ReadRunFile("name", text_), kStatusSuccess);
    WriteRunFile("name", std::string(4097, 'x'));
    EXPECT_EQ(ReadRunFile("name", text_), kStatusAccessDenied);
}

}  // namespace
}  // namespace Kyr::Test
