// Hosts that lend one thing less than is needed, or another one.
#include <gmock/gmock.h>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>

#include "tests/hostprobe/ProbedHost.h"

namespace Kyr::Test {
namespace {

using HostProbe::CHostProbeModule;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(HostProbeTest, MissingResourceIsNamed) {
    for (const int number : {1, 2, 3, 4, 6, 11}) {
        const std::size_t before = Wrong().size();
        CFakeHost host;
        host.Set(1, bus_);
        host.Set(number, {});
        {
            CHostProbeModule module(Settings());
            LiveWell(module, host);
        }
        ASSERT_EQ(Wrong().size(), before + 1) << Told();
        EXPECT_EQ(Wrong().back(), "resource-" + std::to_string(number));
    }
}

TEST_F(HostProbeTest, HostWithoutABusIsExaminedInAllElse) {
    host_.Set(1, {});
    Examine();
    EXPECT_THAT(Points("fine"), Contains("actions-stored"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: WRONG resource-1: there is no IBusResource\n"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: end: 23 points: 22 fine, 0 doubtful, 1 wrong, 0 not "
                                  "tried\n"));
}

TEST_F(HostProbeTest, HostWithoutALogIsExaminedInAllElse) {
    host_.Set(3, {});
    Examine();
    EXPECT_THAT(host_.log->Entries(), IsEmpty());
    EXPECT_THAT(Points("fine"), Contains("bus-types"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: WRONG resource-3: there is no ILoggerResource\n"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: end: 29 points: 28 fine, 0 doubtful, 1 wrong, 0 not "
                                  "tried\n"));
}

TEST_F(HostProbeTest, ConnectionToTheServerMayBeMissing) {
    host_.Set(12, {});
    Examine();
    EXPECT_THAT(Wrong(), IsEmpty());
    EXPECT_THAT(Points("doubtful"), ElementsAre("resource-12"));
}

TEST_F(HostProbeTest, ResourceUnderAnothersNumberIsNamedWithItsType) {
    host_.Set(11, host_.installConfiguration);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("resource-11"));
    EXPECT_THAT(Told(), HasSubstr("it is a Kyr::Test::CFakeInstallConfiguration and not a "
                                  "IConfigurationResource"));
}

TEST_F(HostProbeTest, MappersThatChangedPlacesAreNamed) {
    std::swap(host_.database->mappers[348], host_.database->mappers[388]);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("mapper-348", "mapper-388"));
}

TEST_F(HostProbeTest, InstanceThatIsNoUuidIsNamed) {
    host_.installConfiguration->instanceUuid = "client 12";
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("instance"));
}

TEST_F(HostProbeTest, IdentifierThatComesTwiceIsNamed) {
    class CStuck final : public Common::Kernel::IIdGeneratorResource {
        std::uint32_t GenerateId() override { return 7; }
    };
    host_.Set(4, boost::make_shared<CStuck>());
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("ids"));
}

TEST_F(HostProbeTest, GeneratorThatThrowsIsNamed) {
    class CBroken final : public Common::Kernel::IIdGeneratorResource {
        std::uint32_t GenerateId() override { throw 7; }
    };
    host_.Set(4, boost::make_shared<CBroken>());
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("ids"));
}

}  // namespace
}  // namespace Kyr::Test
