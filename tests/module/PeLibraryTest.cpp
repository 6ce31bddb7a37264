// The library as a file: what a system and its administrators see of it before it runs.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <algorithm>
#include <cctype>
#include <gmock/gmock.h>
#include <set>
#include <windows.h>

#include "tests/module/LoadedLibrary.h"
#include "tests/module/PeFile.h"

namespace Kyr::Test {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::Field;
using ::testing::Not;
using ::testing::StartsWith;

class PeLibraryTest : public ::testing::Test {
  protected:
    std::set<std::string> NeededLibraries() const {
        std::set<std::string> libraries;
        for (auto [library, name] : library_.Imports()) {
            std::transform(library.begin(), library.end(), library.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            libraries.insert(library);
        }
        return libraries;
    }

    const CPeFile library_{LibraryPath()};
};

TEST_F(PeLibraryTest, IsA32BitLibrary) {
    EXPECT_EQ(library_.Machine(), IMAGE_FILE_MACHINE_I386);
    EXPECT_TRUE(library_.IsLibrary());
}

TEST_F(PeLibraryTest, IsLoadedAtARandomAddress) {
    EXPECT_TRUE(library_.LoaderFlags() & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(library_.HasRelocations());
}

TEST_F(PeLibraryTest, ItsDataIsNeverExecuted) {
    EXPECT_TRUE(library_.LoaderFlags() & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
}

TEST_F(PeLibraryTest, NeedsNothingBeyondTheSystemTheRuntimeAndItsLibraries) {
    EXPECT_THAT(
        NeededLibraries(),
        Each(AnyOf("kernel32.dll", "msvcrt.dll", "libgcc_s_dw2-1.dll", "libstdc++-6.dll",
                   "libwinpthread-1.dll", "kyrhost.dll", "libpocofoundation.dll", "libpocoutil.dll",
                   "libprotobuf.dll", "zlib1.dll", StartsWith("libboost_"))));
}

TEST_F(PeLibraryTest, CompilersRuntimeIsSharedWithTheHost) {
    EXPECT_THAT(NeededLibraries(), Contains("libgcc_s_dw2-1.dll"));
    EXPECT_THAT(NeededLibraries(), Contains("libstdc++-6.dll"));
}

TEST_F(PeLibraryTest, PortFunctionsAreLookedUpAtRunTimeAndNotImported) {
    EXPECT_THAT(library_.Imports(),
                Each(Field(&ImportedFunction::name,
                           Not(AnyOf(StartsWith("Nt"), StartsWith("Alpc"), StartsWith("Rtl"))))));
}

TEST_F(PeLibraryTest, CarriesTheVersionOfThisTree) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(LibraryPath().c_str(), &ignored);
    std::string block(size, '\0');
    ASSERT_TRUE(GetFileVersionInfoA(LibraryPath().c_str(), 0, size, block.data()));
    char* text = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(block.data(), "\\StringFileInfo\\040904B0\\FileVersion",
                               reinterpret_cast<void**>(&text), &length));
    EXPECT_STREQ(text, KYR_VERSION);
}

}  // namespace
}  // namespace Kyr::Test
