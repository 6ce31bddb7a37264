// A host that unloads the library while a thread that has called it lives on.
#include <Poco/Manifest.h>
#include <Poco/MetaObject.h>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

#include "tests/module/LoadedLibrary.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Test {
namespace {

/// Starts a module whose product is not installed, and takes the library away again. False: the
/// library is still there.
bool UseAndUnload() {
    void* library = dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    using Export = bool (*)(Poco::ManifestBase*);
    {
        CFakeHost host;
        Poco::Manifest<Common::Kernel::IModule> manifest;
        reinterpret_cast<Export>(dlsym(library, "pocoBuildManifest"))(&manifest);
        const std::unique_ptr<Common::Kernel::IModule> module((*manifest.begin())->create());
        module->Initialize(host);
        module->Start();
        module->Stop(false);
    }
    dlclose(library);
    return dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr;
}

/// In a process of its own: other tests keep the library loaded.
class UnloadDeathTest : public ::testing::Test {
  protected:
    UnloadDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }
    ~UnloadDeathTest() override { ::testing::FLAGS_gtest_death_test_style = styleBefore_; }

  private:
    const std::string styleBefore_ = ::testing::FLAGS_gtest_death_test_style;
};

TEST_F(UnloadDeathTest, ThreadThatStartedAnInactiveModuleMayOutliveTheLibrary) {
    const CInstalledProduct none;
    const auto hostsThread = [] {
        bool unloaded = false;
        std::thread([&unloaded] { unloaded = UseAndUnload(); }).join();
        std::_Exit(unloaded ? 0 : 1);
    };
    EXPECT_EXIT(hostsThread(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Kyr::Test
