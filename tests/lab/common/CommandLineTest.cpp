#include <gmock/gmock.h>
#include <vector>

#include "lab/common/CommandLine.h"

namespace Kyr::Lab {
namespace {

using ::testing::HasSubstr;

/// A program with the options --end=<text> and --colour.
class CommandLineTest : public ::testing::Test {
  protected:
    CommandLineTest() { app_.add_option("--end", end_, "how"); }

    std::optional<int> Read(std::vector<std::string> words) {
        std::vector<char*> argv = {const_cast<char*>("program")};
        for (std::string& word : words) {
            argv.push_back(&word[0]);
        }
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const auto code = ReadCommandLine(app_, static_cast<int>(argv.size()), argv.data());
        printed_ = ::testing::internal::GetCapturedStdout();
        complained_ = ::testing::internal::GetCapturedStderr();
        return code;
    }

    CLI::App app_{"It ends.", "program"};
    std::string end_;
    const CColourOption colour_{app_};
    std::string printed_;
    std::string complained_;
};

TEST_F(CommandLineTest, ValueStandsBehindAnEqualsSignAndMayHoldOthers) {
    EXPECT_EQ(std::nullopt, Read({"--end=status 14 for=1", "--colour=always"}));
    EXPECT_EQ("status 14 for=1", end_);
    EXPECT_TRUE(colour_.IsColoured());
}

TEST_F(CommandLineTest, PathThatBeginsWithASlashIsNoOption) {
    std::string file;
    app_.add_option("FILE", file);
    EXPECT_EQ(std::nullopt, Read({"--end=x", "/a/path"}));
    EXPECT_EQ("/a/path", file);
}

TEST_F(CommandLineTest, UnknownOptionEndsTheProgramWithTwoAndIsNamedBeforeAMissingOne) {
    app_.get_option("--end")->required();
    EXPECT_EQ(2, Read({"--edn=x"}));
    EXPECT_THAT(complained_, HasSubstr("not understood: --edn=x\n"));
    EXPECT_THAT(complained_, HasSubstr("`program --help` tells what it takes\n"));
}

TEST_F(CommandLineTest, HelpTellsTheOptionsAndEndsTheProgramWell) {
    EXPECT_EQ(0, Read({"--help"}));
    EXPECT_THAT(printed_, HasSubstr("--end"));
}

TEST_F(CommandLineTest, VersionIsToldAndEndsTheProgramWell) {
    app_.set_version_flag("--version", "program 7");
    app_.get_option("--end")->required();
    EXPECT_EQ(0, Read({"--version"}));
    EXPECT_EQ("program 7\n", printed_);
}

TEST_F(CommandLineTest, ColourIsNoneOfItsOwn) {
    EXPECT_EQ(2, Read({"--colour=red"}));
    EXPECT_THAT(complained_, HasSubstr("--colour"));
}

}  // namespace
}  // namespace Kyr::Lab
