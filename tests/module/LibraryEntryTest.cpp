#include <Poco/Exception.h>
#include <Poco/SharedLibrary.h>
#include <gmock/gmock.h>
#include <memory>

#include "tests/module/ExportedNames.h"
#include "tests/module/LoadedLibrary.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::IModule;
using ::testing::ElementsAre;

constexpr char kClassName[] = "Kyr::Connectors::OvAgentConnector::CConnectorModule";

TEST(LibraryExportsTest, TheTwoEntryPointsAndNothingElse) {
    EXPECT_THAT(ExportedNames(LibraryPath()),
                ElementsAre("pocoBuildManifest", "pocoInitializeLibrary"));
}

/// An interface that the library does not offer.
class IOther {
  public:
    virtual ~IOther() = default;
};

/// The library's export, called as the class loader calls it.
class BuildManifestTest : public ::testing::Test {
  protected:
    bool BuildManifest(Poco::ManifestBase& manifest) {
        using Function = bool (*)(Poco::ManifestBase*);
        return reinterpret_cast<Function>(library_.getSymbol("pocoBuildManifest"))(&manifest);
    }

  private:
    Poco::SharedLibrary library_{LibraryPath()};
};

TEST_F(BuildManifestTest, ManifestOfModulesIsFilled) {
    Poco::Manifest<IModule> manifest;
    EXPECT_TRUE(BuildManifest(manifest));
    EXPECT_EQ(manifest.size(), 1);
}

TEST_F(BuildManifestTest, ManifestOfAnotherInterfaceIsRefusedAndLeftEmpty) {
    Poco::Manifest<IOther> manifest;
    EXPECT_FALSE(BuildManifest(manifest));
    EXPECT_TRUE(manifest.empty());
}

TEST_F(BuildManifestTest, ManifestThatIsFilledTwiceOffersTheClassOnce) {
    Poco::Manifest<IModule> manifest;
    BuildManifest(manifest);
    EXPECT_TRUE(BuildManifest(manifest));
    EXPECT_EQ(manifest.size(), 1);
}

TEST_F(BuildManifestTest, ManifestsEndDeletesTheModulesThatWereHandedOver) {
    CFakeHost host;
    const long owners = host.log.use_count();
    {
        Poco::Manifest<IModule> manifest;
        BuildManifest(manifest);
        const auto* connectorClass = *manifest.begin();
        connectorClass->autoDelete(connectorClass->create())->Initialize(host);
        EXPECT_GT(host.log.use_count(), owners);
    }
    EXPECT_EQ(host.log.use_count(), owners);
}

class MetaObjectTest : public ::testing::Test {
  protected:
    const CLoadedLibrary::MetaObject& Class() { return library_.ConnectorClass(); }

    CLoadedLibrary library_;
};

TEST_F(MetaObjectTest, ManifestOffersExactlyTheConnectorClass) {
    const auto& manifest = library_.Manifest();
    ASSERT_EQ(manifest.size(), 1);
    EXPECT_STREQ(manifest.begin()->name(), kClassName);
}

TEST_F(MetaObjectTest, ClassCanBeCreated) {
    EXPECT_TRUE(Class().canCreate());
}

TEST_F(MetaObjectTest, EveryCreateGivesAnotherModule) {
    const auto first = library_.CreateModule();
    const auto second = library_.CreateModule();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
}

TEST_F(MetaObjectTest, InstanceIsRefusedSinceTheModuleIsNoSingleton) {
    try {
        Class().instance();
        FAIL() << "no exception";
    } catch (const Poco::InvalidAccessException& exception) {
        EXPECT_EQ(exception.message(),
                  "Not a singleton. Use create() to create instances of: "
                  "Kyr::Connectors::OvAgentConnector::CConnectorModule");
    }
}

TEST_F(MetaObjectTest, CreatedModuleBelongsToItsCreator) {
    const auto module = library_.CreateModule();
    EXPECT_FALSE(Class().isAutoDelete(module.get()));
}

TEST_F(MetaObjectTest, ModuleHandedOverIsKeptForAutomaticDeletion) {
    auto* module = Class().autoDelete(Class().create());
    EXPECT_TRUE(Class().isAutoDelete(module));
}

TEST_F(MetaObjectTest, DestroyForgetsAModuleThatWasHandedOver) {
    auto* module = Class().autoDelete(Class().create());
    Class().destroy(module);
    EXPECT_FALSE(Class().isAutoDelete(module));
}

TEST_F(MetaObjectTest, DestroyDeletesAModuleThatWasHandedOver) {
    CFakeHost host;
    auto* module = Class().autoDelete(Class().create());
    const long owners = host.log.use_count();
    module->Initialize(host);
    EXPECT_GT(host.log.use_count(), owners);
    Class().destroy(module);
    EXPECT_EQ(host.log.use_count(), owners);
}

TEST_F(MetaObjectTest, DestroyLeavesAModuleAloneThatWasNotHandedOver) {
    const auto module = library_.CreateModule();
    Class().destroy(module.get());
    EXPECT_EQ(module->GetName(), "COvAgentConnectorModule");
}

TEST_F(MetaObjectTest, ModuleIsNamedAfterItsOwnClass) {
    EXPECT_EQ(library_.CreateModule()->GetName(), "COvAgentConnectorModule");
}

}  // namespace
}  // namespace Kyr::Test
