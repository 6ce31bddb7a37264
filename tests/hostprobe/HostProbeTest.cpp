// Small hosts, each with one fault, and what the probe says of it. The healthy one is examined
// first: what it is told is what all others are told, but for their fault.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/core/ref.hpp>
#include <boost/make_shared.hpp>

#include "hostprobe/HostProbeModule.h"
#include "tests/hostprobe/FaultyBus.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Test {
namespace {

using HostProbe::CHostProbeModule;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A clock whose time passes at once when the bus has nothing more to deliver, and never before.
class CPatience final : public Base::IClock {
  public:
    explicit CPatience(CFaultyBus& bus) : bus_(bus) {}

    std::int64_t CalendarTime() const override { return 0; }
    void SleepFor(std::chrono::milliseconds) override {}
    void Wait(Base::CCondition& condition, Base::CLock& lock) override { condition.Wait(lock); }
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock,
                 std::chrono::milliseconds) override {
        return condition.WaitFor(lock, std::chrono::milliseconds(1)) || !bus_.IsIdle();
    }

  private:
    CFaultyBus& bus_;  // borrowed: it holds the subscribers, and they this
};

/// The module's life as a good host drives it.
void LiveWell(CHostProbeModule& module, CFakeHost& host) {
    module.Initialize(host);
    module.Start();
    module.RequestStop();
    while (!module.Stop(false)) {
        Base::SystemClock()->SleepFor(std::chrono::milliseconds(1));
    }
}

class HostProbeTest : public ::testing::Test {
  protected:
    HostProbeTest() { SetBus(BusFault::kNone); }

    void SetBus(BusFault fault) {
        bus_ = boost::make_shared<CFaultyBus>(fault);
        host_.Set(1, bus_);
    }

    HostProbe::ProbeSettings Settings() {
        HostProbe::ProbeSettings settings;
        settings.stream = &told_;
        settings.clock = boost::make_shared<CPatience>(boost::ref(*bus_));
        return settings;
    }

    void Examine() {
        CHostProbeModule module(Settings());
        LiveWell(module, host_);
    }

    /// The points with that verdict, in the order in which they were told.
    std::vector<std::string> Points(const std::string& verdict) const {
        std::vector<std::string> points;
        std::istringstream lines(told_.str());
        const std::string beginning = "HostProbe: " + verdict + " ";
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(beginning, 0) == 0) {
                points.push_back(line.substr(beginning.size(),
                                             line.find(':', beginning.size()) - beginning.size()));
            }
        }
        return points;
    }
    std::vector<std::string> Wrong() const { return Points("WRONG"); }
    std::string Told() const { return told_.str(); }

    CFakeHost host_;
    boost::shared_ptr<CFaultyBus> bus_;

  private:
    std::ostringstream told_;
};

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

TEST_F(HostProbeTest, FaultOfTheBusIsNamed) {
    struct Row {
        BusFault fault;
        const char* point;
    };
    constexpr Row kRows[] = {
        {BusFault::kDeliversTwice, "bus-once"},     {BusFault::kLosesContext, "bus-contexts"},
        {BusFault::kOneContext, "bus-contexts"},    {BusFault::kDeliversInside, "bus-thread"},
        {BusFault::kDeliversAllTypes, "bus-types"}, {BusFault::kThrows, "bus-delivery"},
    };
    for (const Row& row : kRows) {
        const std::size_t before = Wrong().size();
        SetBus(row.fault);
        Examine();
        ASSERT_EQ(Wrong().size(), before + 1) << Told();
        EXPECT_EQ(Wrong().back(), row.point);
    }
}

TEST_F(HostProbeTest, BusThatTurnsTwoMessagesRoundIsNamed) {
    SetBus(BusFault::kTurnsOnePair);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-order")) << Told();
}

TEST_F(HostProbeTest, BusThatDeliversNothingIsNamedAndTheRestNotTried) {
    SetBus(BusFault::kDeliversNothing);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-delivery"));
    EXPECT_THAT(Points("not tried"), ElementsAre("bus-order", "bus-contexts", "bus-thread",
                                                 "bus-survives", "bus-once", "bus-types"));
}

TEST_F(HostProbeTest, BusThatCopiesMessagesIsNamed) {
    SetBus(BusFault::kCopies);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-delivery"));
    EXPECT_THAT(Told(), HasSubstr("another object comes than was published"));
}

TEST_F(HostProbeTest, BusThatEndsAtAnExceptionIsNamed) {
    SetBus(BusFault::kEndsAtException);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-survives")) << Told();
}

TEST_F(HostProbeTest, MissingResourceIsNamed) {
    for (const int number : {2, 4, 6, 11}) {
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

TEST_F(HostProbeTest, LogThatThrowsAtOneLevelIsNamedAndPointsGoOn) {
    host_.log->OnLine([](const LogEntry& line) {
        if (line.level == 1) {
            throw std::runtime_error("no such level");
        }
    });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("log-levels"));
    EXPECT_THAT(Told(), HasSubstr("the log throws an exception at level 1"));
}

TEST_F(HostProbeTest, LogThatTakesNoLineOfThePointsIsNamed) {
    host_.log->OnLine([](const LogEntry&) { throw std::runtime_error("disk full"); });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("log-lines", "log-levels"));
}

TEST_F(HostProbeTest, ValueThatIsNotStoredIsNamed) {
    host_.database->keyValues->OnSet([](const std::string&, const std::string&) { return false; });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-written", "values-read"));
}

TEST_F(HostProbeTest, StoreThatThrowsForAMissingKeyIsNamed) {
    host_.database->keyValues->OnGet([](const std::string& key) {
        if (key == "HOST_PROBE_NEVER_WRITTEN") {
            throw std::runtime_error("no such key");
        }
    });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-read"));
    EXPECT_THAT(Told(), HasSubstr("no such key"));
}

TEST_F(HostProbeTest, StoreThatThrowsWhatIsNoExceptionIsNamed) {
    host_.database->keyValues->OnGet([](const std::string&) { throw 7; });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-read"));
    EXPECT_THAT(Told(), HasSubstr("something that is no std::exception"));
}

TEST_F(HostProbeTest, StoreOfActionsThatRefusesIsDoubtful) {
    host_.database->remediationActions->OnStore(
        [](const CFakeRemediationActions::Batch&) { return false; });
    Examine();
    EXPECT_THAT(Wrong(), IsEmpty());
    EXPECT_THAT(Points("doubtful"), ElementsAre("actions-stored"));
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
