#include <Poco/Process.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "probe/session/System.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Probe {
namespace {

TEST(SystemTest, ProcessHasTheNameOfItsProgram) {
    // Some systems keep fifteen characters of it.
    EXPECT_THAT(ProgramOf(static_cast<std::uint32_t>(Poco::Process::id())),
                testing::StartsWith("tests_probe_pro"));
}

TEST(SystemTest, ProcessThatIsNotThereHasNoName) {
    EXPECT_EQ(ProgramOf(0x7FFFFFF0), "");
}

TEST(SystemTest, PrivateFileIsMadeEmptyAndNeverInPlaceOfAnother) {
    const Kyr::Test::CTemporaryFolder folder;
    const std::filesystem::path path = std::filesystem::path(folder.Path()) / "file";
    EXPECT_TRUE(MakePrivateFile(path.string()));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
    EXPECT_FALSE(MakePrivateFile(path.string()));
    EXPECT_FALSE(MakePrivateFile((path.parent_path() / "missing" / "file").string()));
}

}  // namespace
}  // namespace Kyr::Probe
