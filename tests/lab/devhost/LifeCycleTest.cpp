#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/devhost/LifeCycle.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/TestModule.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CLifeCycle;
using ::testing::ElementsAre;

/// What the module is lent, which does not ask for it.
class CNothing final : public Common::Kernel::IResourceProvider {
  public:
    boost::shared_ptr<Common::Kernel::IResource> GetResource(int) override { return {}; }
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
        lifeCycle_->Begin();
        lifeCycle_->BeginStop(false);
        ASSERT_TRUE(clock_->AwaitSleepers(1));
    }

    void ForceIt() {
        lifeCycle_->BeginStop(true);
        clock_->Advance(std::chrono::milliseconds(100));
        lifeCycle_->WaitUntilDestroyed();
    }

    Lab::CLineList events_;
    CNothing nothing_;
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CTestModule module_;
    std::unique_ptr<CLifeCycle> lifeCycle_ =
        std::make_unique<CLifeCycle>(module_.Loaded(), nothing_, events_.Sink(), clock_);
};

TEST_F(LifeCycleTest, WholeLifeRunsInTheContractsOrderAndOnce) {
    EXPECT_TRUE(lifeCycle_->Begin());
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
    lifeCycle_->Begin();
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
        std::vector<std::string> calls;
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
        CTestModule module;
        module.failing = row.failing;
        CLifeCycle lifeCycle(module.Loaded(), nothing_, events_.Sink(), clock_);
        EXPECT_FALSE(lifeCycle.Begin());
        EXPECT_EQ(module.calls, row.calls);
        EXPECT_EQ(events_.Take(), row.told);
    }
}

TEST_F(LifeCycleTest, SingleCallsAreMadeInAnyOrder) {
    module_.busyFor = 1;
    module_.failing = "Start";
    for (const char* call :
         {"stop force", "request-stop", "initialize", "start", "stop", "stop", "destroy"}) {
        lifeCycle_->SingleCall(call)();
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
        for (const char* call :
             {"initialize", "start", "request-stop", "stop", "stop force", "destroy"}) {
            EXPECT_THROW(lifeCycle_->SingleCall(call)(), std::runtime_error) << call;
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

TEST_F(LifeCycleTest, ModuleThatIsHeldElsewhereIsNotToldToBeDestroyed) {
    CTestModule module;
    auto held = module.Loaded();
    CLifeCycle lifeCycle(held, nothing_, events_.Sink(), clock_);
    lifeCycle.SingleCall("destroy")();
    EXPECT_THAT(module.calls, ::testing::IsEmpty());
    EXPECT_THAT(events_.Texts(), ElementsAre("life call=destroy result=failed "
                                             "text=\"the module is held elsewhere\""));
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
    lifeCycle_->Begin();
    lifeCycle_.reset();
    EXPECT_THAT(module_.calls,
                ElementsAre("Initialize", "Start", "RequestStop", "Stop(true)", "Destroy"));
}

}  // namespace
}  // namespace Kyr::Test
