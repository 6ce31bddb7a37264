#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/GenericModule.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Common::Module {
namespace {

using namespace Kyr::Test;
using testing::ElementsAre;

class CPlainModule : public CGenericModule {
  public:
    void Start() override {}
    void RequestStop() override {}
    bool Stop(bool /*force*/) override { return true; }
    std::string GetName() const override { return "Plain"; }

    using CGenericModule::GetBus;
    using CGenericModule::GetConfiguration;
    using CGenericModule::GetIdGenerator;
    using CGenericModule::GetInstallConfiguration;
    using CGenericModule::GetLoggerResource;
    using CGenericModule::GetReplyProcessor;

    /// Which of the six pointers are set, in their order.
    std::vector<bool> Held() const {
        return {GetBus() != nullptr,
                GetInstallConfiguration() != nullptr,
                GetLoggerResource() != nullptr,
                GetIdGenerator() != nullptr,
                GetConfiguration() != nullptr,
                GetReplyProcessor() != nullptr};
    }
};

class GenericModuleTest : public testing::Test {
  protected:
    void ExpectRefused(const std::string& text) {
        EXPECT_EQ(ThrownText([this] { module.Initialize(host); }), text);
    }

    CFakeHost host;
    CPlainModule module;
};

TEST_F(GenericModuleTest, NewModuleHoldsNothing) {
    EXPECT_THAT(module.Held(), ElementsAre(false, false, false, false, false, false));
}

TEST_F(GenericModuleTest, TakesFiveResourcesInOrder) {
    module.Initialize(host);
    EXPECT_THAT(host.requested, ElementsAre(1, 2, 3, 4, 11));
    EXPECT_THAT(module.Held(), ElementsAre(true, true, true, true, true, true));
    EXPECT_EQ(module.GetBus(), host.bus);
    EXPECT_EQ(module.GetInstallConfiguration(), host.installConfiguration);
    EXPECT_EQ(module.GetLoggerResource(), host.log);
}

TEST_F(GenericModuleTest, MissingBusIsRefused) {
    host.Set(1, nullptr);
    ExpectRefused("Bad cast to Kyr::Common::Kernel::IBusResource");
    EXPECT_THAT(host.requested, ElementsAre(1));
    EXPECT_THAT(module.Held(), ElementsAre(false, false, false, false, false, false));
}

TEST_F(GenericModuleTest, WrongInstallConfigurationIsRefusedAfterTheBus) {
    host.Set(2, boost::make_shared<COtherResource>());
    ExpectRefused("Bad cast to Kyr::Common::Kernel::IInstallConfigurationResource");
    EXPECT_THAT(host.requested, ElementsAre(1, 2));
    EXPECT_THAT(module.Held(), ElementsAre(true, false, false, false, false, false));
}

TEST_F(GenericModuleTest, MissingLoggerIsRefused) {
    host.Set(3, nullptr);
    ExpectRefused("Bad cast to Kyr::Common::Kernel::ILoggerResource");
    EXPECT_THAT(module.Held(), ElementsAre(true, true, false, false, false, false));
}

TEST_F(GenericModuleTest, WrongIdGeneratorIsRefused) {
    host.Set(4, boost::make_shared<COtherResource>());
    ExpectRefused("Bad cast to Kyr::Common::Kernel::IIdGeneratorResource");
    EXPECT_THAT(module.Held(), ElementsAre(true, true, true, false, false, false));
}

TEST_F(GenericModuleTest, MissingConfigurationIsRefused) {
    host.Set(11, nullptr);
    ExpectRefused("Bad cast to Kyr::Common::Kernel::IConfigurationResource");
    EXPECT_THAT(module.Held(), ElementsAre(true, true, true, true, false, false));
}

TEST_F(GenericModuleTest, ReplyProcessorUsesTheHostsIdentifiers) {
    module.Initialize(host);
    EXPECT_EQ(module.GetReplyProcessor()->Expect(), 1u);
}

/// Notes its end.
template <typename Resource>
class CDeparting : public Resource {
  public:
    CDeparting(std::vector<int>& departed, int number) : departed_(departed), number_(number) {}
    ~CDeparting() override { departed_.push_back(number_); }

  private:
    std::vector<int>& departed_;
    const int number_;
};

TEST(GenericModuleReleaseTest, ResourcesAreReleasedInReverseOrder) {
    using namespace Kyr::Test;
    std::vector<int> departed;
    CFakeHost host;
    host.Set(1, boost::make_shared<CDeparting<CFakeBus>>(departed, 1));
    host.Set(2, boost::make_shared<CDeparting<CFakeInstallConfiguration>>(departed, 2));
    host.Set(3, boost::make_shared<CDeparting<CLogCapture>>(departed, 3));
    host.Set(4, boost::make_shared<CDeparting<CFakeIdGenerator>>(departed, 4));
    host.Set(11, boost::make_shared<CDeparting<CFakeConfiguration>>(departed, 11));
    {
        CPlainModule module;
        module.Initialize(host);
        for (const int number : {1, 2, 3, 4, 11}) {
            host.Set(number, nullptr);
        }
        EXPECT_THAT(departed, testing::IsEmpty());
    }
    EXPECT_THAT(departed, ElementsAre(11, 4, 3, 2, 1));
}

TEST_F(GenericModuleTest, ResourcesAreReleasedWithTheModule) {
    {
        CPlainModule other;
        other.Initialize(host);
        EXPECT_GT(host.bus.use_count(), 2);
    }
    EXPECT_EQ(host.bus.use_count(), 2);
}

}  // namespace
}  // namespace Kyr::Common::Module
