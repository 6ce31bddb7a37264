// A healthy host, and hosts that drive the module's life otherwise than in its order.
#include <gmock/gmock.h>
#include <stdexcept>

#include "tests/hostprobe/ProbedHost.h"

namespace Kyr::Test {
namespace {

using HostProbe::CHostProbeModule;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(HostProbeTest, HealthyHostIsFineInEveryPoint) {
    Examine();
    EXPECT_THAT(Wrong(), IsEmpty()) << Told();
    EXPECT_THAT(Points("doubtful"), IsEmpty()) << Told();
    EXPECT_THAT(Points("fine"),
                ElementsAre("resource-3", "resource-1", "resource-2", "instance", "resource-4",
                            "ids", "resource-6", "mapper-348", "mapper-388", "resource-11",
                            "resource-12", "protobuf-runtime", "cpp-runtime", "host-library",
                            "protobuf-messages", "exceptions-in", "log-levels", "values-written",
                            "values-read", "values-missing", "actions-stored", "bus-delivery",
                            "bus-order", "bus-contexts", "bus-thread", "bus-survives", "bus-once",
                            "bus-types", "life-order", "life-threads"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: end: 30 points: 30 fine, 0 doubtful, 0 wrong, 0 not "
                                  "tried\n"));
}

TEST_F(HostProbeTest, EveryPointIsInTheHostsLogToo) {
    Examine();
    EXPECT_EQ(host_.log->Entries().back().text,
              "end: 30 points: 30 fine, 0 doubtful, 0 wrong, 0 not tried");
    EXPECT_EQ(host_.log->Entries().back().source, "HostProbe");
    // All points but the first, which is the log's own; the end; and a line of each level.
    EXPECT_EQ(host_.log->Entries().size(), 29U + 1U + 4U);
}

TEST_F(HostProbeTest, ModuleThatIsDestroyedWithoutStopIsNamed) {
    {
        CHostProbeModule module(Settings());
        module.Initialize(host_);
        module.Start();
    }
    EXPECT_THAT(Wrong(), ElementsAre("life-threads"));
    EXPECT_THAT(Told(), HasSubstr("the module is destroyed without Stop"));
}

TEST_F(HostProbeTest, ModuleThatIsDestroyedWhileBusyIsNamed) {
    {
        CHostProbeModule module(Settings());
        module.Initialize(host_);
        module.Start();
        module.RequestStop();
        EXPECT_FALSE(module.Stop(false));
    }
    EXPECT_THAT(Wrong(), ElementsAre("life-threads"));
    EXPECT_THAT(Told(), HasSubstr("the module is destroyed though Stop returned false"));
}

TEST_F(HostProbeTest, StartBeforeInitializeIsNamed) {
    {
        CHostProbeModule module(Settings());
        module.Start();
        LiveWell(module, host_);
    }
    EXPECT_THAT(Wrong(), ElementsAre("life-order"));
    EXPECT_THAT(Told(), HasSubstr("Start before Initialize has succeeded"));
}

TEST_F(HostProbeTest, StopWithoutRequestIsNamed) {
    {
        CHostProbeModule module(Settings());
        module.Initialize(host_);
        module.Start();
        EXPECT_TRUE(module.Stop(true));
    }
    EXPECT_THAT(Wrong(), ElementsAre("life-order"));
}

TEST_F(HostProbeTest, LibraryThatGoesBeforeItsModuleIsNamed) {
    CHostProbeModule module(Settings());
    module.LibraryGoes();
    EXPECT_THAT(Wrong(), ElementsAre("life-library"));
    EXPECT_THAT(Told(), HasSubstr("HostProbe: end: 1 points: 0 fine, 0 doubtful, 1 wrong"));
}

TEST_F(HostProbeTest, HostThatTakesAnExceptionOfInitializeIsTold) {
    {
        HostProbe::ProbeSettings settings = Settings();
        settings.failToInitialize = true;
        CHostProbeModule module(settings);
        EXPECT_THROW(module.Initialize(host_), std::runtime_error);
    }
    EXPECT_THAT(Wrong(), IsEmpty());
    EXPECT_EQ(Points("fine").back(), "exceptions-out");
}

}  // namespace
}  // namespace Kyr::Test
