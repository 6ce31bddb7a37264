// Libraries come into the process under the names of those that must be there once. The probe goes
// by these names, so that any library will do.
#include <Poco/SharedLibrary.h>
#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "hostprobe/ProcessChecks.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class ProcessChecksTest : public ::testing::Test {
  protected:
    /// What is told while a library of that name is loaded.
    std::string ToldBeside(const std::string& name) {
        const std::string file = folder_.File(name);
        boost::filesystem::copy_file(KYR_BYSTANDER_PATH, file);
        Poco::SharedLibrary library(file);
        std::ostringstream told;
        {
            HostProbe::CReport report(told);
            HostProbe::CheckProcess(report);
        }
        library.unload();
        return told.str();
    }

  private:
    const CTemporaryFolder folder_;
};

TEST_F(ProcessChecksTest, SecondLibraryOfAKindIsNamedWithItsFile) {
    struct Row {
        const char* file;
        const char* told;
    };
    constexpr Row kRows[] = {
        {"libprotobuf-second.so", "WRONG protobuf-runtime: more than one protobuf runtime in "},
        {"Protobuf.dll", "WRONG protobuf-runtime: more than one protobuf runtime in "},
        {"libstdc++.so.5", "WRONG cpp-runtime: more than one C++ runtime in "},
        {"libc++.so.1", "WRONG cpp-runtime: more than one C++ runtime in "},
        {"libKyrHost-old.so", "WRONG host-library: more than one library of the host in "},
        {"kyrhost.old.dll", "WRONG host-library: more than one library of the host in "},
    };
    for (const Row& row : kRows) {
        const std::string told = ToldBeside(row.file);
        const std::size_t begin = told.find("WRONG");
        ASSERT_NE(begin, std::string::npos) << row.file << "\n" << told;
        const std::string line = told.substr(begin, told.find('\n', begin) - begin);
        EXPECT_THAT(line, HasSubstr(row.told));
        EXPECT_THAT(line, HasSubstr(row.file));
        EXPECT_EQ(told.find("WRONG", begin + 1), std::string::npos) << told;
    }
}

TEST_F(ProcessChecksTest, LibraryThatIsCalledAlikeIsNoSecondOne) {
    for (const char* file :
         {"libprotobuf-lite.so.32", "libc++abi.so.1", "another-libprotobuf.so", "libkyr.so"}) {
        EXPECT_THAT(ToldBeside(file), Not(HasSubstr("WRONG"))) << file;
    }
}

}  // namespace
}  // namespace Kyr::Test
