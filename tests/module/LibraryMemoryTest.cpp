// Loading the library while one allocation fails: the host lives on, whichever it is.
#include <Poco/ClassLibrary.h>
#include <Poco/SharedLibrary.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

#include <boost/filesystem/path.hpp>

#include "host/kernel/IModule.h"
#include "tests/module/LoadedLibrary.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::IModule;

// Of the child in which an allocation failed.
constexpr int kWentWell = 7;
constexpr int kThrewWhatItMay = 8;
constexpr int kNothingFailed = 9;
constexpr int kWrong = 1;

/// Each failure has a process of its own: the path locale is generated once in the life of one.
class LibraryMemoryTest : public ::testing::Test {
  protected:
    void SetUp() override { KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED(); }

  private:
    Poco::SharedLibrary library_{LibraryPath()};

  protected:
    // Looked up before memory is short.
    void (*const Initialize)() =
        reinterpret_cast<void (*)()>(library_.getSymbol("pocoInitializeLibrary"));
    bool (*const Build)(Poco::ManifestBase*) =
        reinterpret_cast<bool (*)(Poco::ManifestBase*)>(library_.getSymbol("pocoBuildManifest"));
};

bool PathsAreConverted() {
    return boost::filesystem::path(L"name").string() == "name";
}

/// Ends the process, which is the child of a test.
[[noreturn]] void End(const CAllocationFailure& failure, bool isWell) {
    std::_Exit(!isWell ? kWrong : failure.HasHappened() ? kWentWell : kNothingFailed);
}

TEST_F(LibraryMemoryTest, WhicheverAllocationOfTheInitializationFailsTheHostLivesOn) {
    unsigned after = 0;
    for (bool more = true; more; ++after) {
        EXPECT_EXIT(
            {
                const CAllocationFailure failure(after);
                Initialize();
                End(failure, PathsAreConverted());
            },
            [&](int status) {
                more = WIFEXITED(status) && WEXITSTATUS(status) == kWentWell;
                return more || (WIFEXITED(status) && WEXITSTATUS(status) == kNothingFailed);
            },
            "")
            << "allocation " << after + 1;
        ASSERT_LT(after, 1000u);
    }
    EXPECT_GT(after, 20u) << "the locale is made of many";
}

TEST_F(LibraryMemoryTest, WhicheverAllocationOfTheManifestFailsTheHostHearsIt) {
    unsigned after = 0;
    for (bool more = true; more; ++after) {
        EXPECT_EXIT(
            {
                Poco::Manifest<IModule> manifest;
                const CAllocationFailure failure(after);
                try {
                    const bool isBuilt = Build(&manifest);
                    End(failure, isBuilt && manifest.size() == 1);
                } catch (const std::bad_alloc&) {
                    std::_Exit(manifest.empty() ? kThrewWhatItMay : kWrong);
                }
            },
            [&](int status) {
                const int code = WIFEXITED(status) ? WEXITSTATUS(status) : kWrong;
                more = code == kThrewWhatItMay || code == kWentWell;
                return more || code == kNothingFailed;
            },
            "")
            << "allocation " << after + 1;
        ASSERT_LT(after, 100u);
    }
    EXPECT_GT(after, 1u);
}

}  // namespace
}  // namespace Kyr::Test
