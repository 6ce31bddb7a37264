#include <gmock/gmock.h>
#include <map>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/devhost/LifeCycle.h"
#include "lab/devhost/resources/Resources.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CLifeCycle;
using ::testing::ElementsAre;

using Calls = std::vector<std::string>;

/// Keeps what is called of it, and fails at one of it.
class CCalledModule : public Common::Kernel::IModule {
  public:
    void Initialize(Common::Kernel::IResourceProvider&) override { Take("Initialize"); }
    void Start() override { Take("Start"); }
    void RequestStop() override { Take("RequestStop"); }
    bool Stop(bool force) override {
        Take(force ? "Stop(true)" : "Stop(false)");
        return force || busyFor-- <= 0;
    }
    std::string GetName() const override { return "called"; }
    void Take(const std::string& call) {
        calls.push_back(call);
        if (call == failing) {
            throw std::runtime_error("no " + call);
        }
    }

    Calls calls;
    std::string failing;
    int busyFor = 0;  // so many polite stops do not end it
};

class LifeCycleTest : public ::testing::Test {
  protected:
    void Stop(bool force) {
        lifeCycle_->BeginStop(force);
        lifeCycle_->WaitUntilDestroyed();
    }

    /// The module has been asked once, and waits to be asked again.
    void BeginAStopThatGetsNowhere() {
        module_.busyFor = 1000;
        lifeCycle_->Begin(provider_);
        lifeCycle_->BeginStop(false);
        ASSERT_TRUE(clock_->AwaitSleepers(1));
    }

    void ForceIt() {
        lifeCycle_->BeginStop(true);
        clock_->Advance(std::chrono::milliseconds(100));
        lifeCycle_->WaitUntilDestroyed();
    }

    Lab::CLineList events_;
    Lab::DevHost::CResourceProvider provider_{[](const Lab::CLine&) {}};
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CCalledModule module_;
    std::unique_ptr<CLifeCycle> lifeCycle_ = std::make_unique<CLifeCycle>(
        module_, [this] { module_.Take("Destroy"); }, events_.Sink(), clock_);
};

TEST_F(LifeCycleTest, WholeLifeRunsInTheContractsOrderAndOnce) {
    EXPECT_TRUE(lifeCycle_->Begin(provider_));
    Stop(false);
    Stop(false);
    EXPECT_THAT(module_.calls,
                ElementsAre("Initialize", "Start", "RequestStop", "Stop(false)", "Destroy"));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("life call=Initialize result=ok", "life call=Start result=ok",
                            "life call=RequestStop result=ok", "life call=Stop(false) result=true",
                            "life call=destroy result=ok"));
}

TEST_F(LifeCycleTest, BusyModuleIsAskedAgainUntilItHasStopped) {
    clock_->SetAutomaticSleep(true);
    module_.busyFor = 2;
    lifeCycle_->Begin(provider_);
    Stop(false);
    EXPECT_THAT(module_.calls, ElementsAre("Initialize", "Start", "RequestStop", "Stop(false)",
                                           "Stop(false)", "Stop(false)", "Destroy"));
}

TEST_F(LifeCycleTest, ForceEndsAStopThatIsNotGettingAnywhere) {
    BeginAStopThatGetsNowhere();
    ForceIt();
    EXPECT_THAT(module_.calls, ElementsAre("Initialize", "Start", "RequestStop", "Stop(false)",
                                           "Stop(true)", "Destroy"));
}

TEST_F(LifeCycleTest, ModuleThatCannotBeginIsDestroyedAndOnceItIsInitializedStoppedByForce) {
    const struct {
        const char* failing;
        Calls calls;
        std::vector<std::string> told;
    } kRows[] = {
        {"Initialize",
         {"Initialize", "Destroy"},
         {"life call=Initialize result=failed text=\"no Initialize\"",
          "life call=destroy result=ok"}},
        {"Start",
         {"Initialize", "Start", "RequestStop", "Stop(true)", "Destroy"},
         {"life call=Initialize result=ok", "life call=Start result=failed text=\"no Start\"",
          "life call=RequestStop result=ok", "life call=Stop(true) result=true",
          "life call=destroy result=ok"}},
    };
    for (const auto& row : kRows) {
        CCalledModule module;
        module.failing = row.failing;
        CLifeCycle lifeCycle(
            module, [&] { module.Take("Destroy"); }, events_.Sink(), clock_);
        EXPECT_FALSE(lifeCycle.Begin(provider_));
        EXPECT_EQ(module.calls, row.calls);
        EXPECT_EQ(events_.Take(), row.told);
    }
}

TEST_F(LifeCycleTest, SingleCallsAreMadeInAnyOrder) {
    module_.busyFor = 1;
    module_.failing = "Start";
    const auto calls = lifeCycle_->SingleCalls(provider_);
    for (const char* call :
         {"stop force", "request-stop", "initialize", "start", "stop", "stop", "destroy"}) {
        calls.at(call)();
    }
    EXPECT_THAT(module_.calls, ElementsAre("Stop(true)", "RequestStop", "Initialize", "Start",
                                           "Stop(false)", "Stop(false)", "Destroy"));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("life call=Stop(true) result=true", "life call=RequestStop result=ok",
                            "life call=Initialize result=ok",
                            "life call=Start result=failed text=\"no Start\"",
                            "life call=Stop(false) result=false",
                            "life call=Stop(false) result=true", "life call=destroy result=ok"));
}

TEST_F(LifeCycleTest, ModuleThatIsStoppedOrDestroyedIsNotCalledBesideThat) {
    const auto refused = [this] {
        for (const auto& [name, call] : lifeCycle_->SingleCalls(provider_)) {
            EXPECT_THROW(call(), std::runtime_error) << name;
        }
    };
    BeginAStopThatGetsNowhere();
    refused();
    ForceIt();
    EXPECT_TRUE(lifeCycle_->IsDestroyed());
    refused();
    Stop(true);
    EXPECT_EQ(module_.calls.size(), 6u);
}

TEST_F(LifeCycleTest, ModuleThatNeverBeganIsOnlyDestroyed) {
    Stop(false);
    EXPECT_THAT(module_.calls, ElementsAre("Destroy"));
}

TEST_F(LifeCycleTest, ForgottenModuleThatNeverBeganIsOnlyDestroyed) {
    lifeCycle_.reset();
    EXPECT_THAT(module_.calls, ElementsAre("Destroy"));
}

TEST_F(LifeCycleTest, ForgottenModuleIsStoppedByForceAndDestroyed) {
    lifeCycle_->Begin(provider_);
    lifeCycle_.reset();
    EXPECT_THAT(module_.calls,
                ElementsAre("Initialize", "Start", "RequestStop", "Stop(true)", "Destroy"));
}

}  // namespace
}  // namespace Kyr::Test
