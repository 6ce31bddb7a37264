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

using Common::Kernel::IModule;
using Common::Kernel::IResourceProvider;
using Lab::DevHost::CLifeCycle;
using namespace testing;

class CModuleMock : public IModule {
  public:
    MOCK_METHOD(void, Initialize, (IResourceProvider&), (override));
    MOCK_METHOD(void, Start, (), (override));
    MOCK_METHOD(void, RequestStop, (), (override));
    MOCK_METHOD(bool, Stop, (bool), (override));
    MOCK_METHOD(std::string, GetName, (), (const, override));
    MOCK_METHOD(void, Destroy, ());
};

class LifeCycleTest : public ::testing::Test {
  protected:
    void ExpectBegin() {
        EXPECT_CALL(module_, Initialize);
        EXPECT_CALL(module_, Start);
    }

    /// The one Stop that there is.
    void ExpectEnd(bool force) {
        EXPECT_CALL(module_, RequestStop);
        EXPECT_CALL(module_, Stop(force)).WillOnce(Return(true));
        EXPECT_CALL(module_, Destroy);
    }

    void Stop(bool force) {
        lifeCycle_.BeginStop(force);
        lifeCycle_.WaitUntilDestroyed();
    }

    /// The module has been asked once, and waits to be asked again.
    void BeginAStopThatGetsNowhere() {
        ExpectBegin();
        EXPECT_CALL(module_, RequestStop);
        EXPECT_CALL(module_, Stop(false)).WillOnce(Return(false));
        EXPECT_CALL(module_, Stop(true)).WillOnce(Return(true));
        EXPECT_CALL(module_, Destroy);
        lifeCycle_.Begin(provider_);
        lifeCycle_.BeginStop(false);
        ASSERT_TRUE(clock_->AwaitSleepers(1));
    }

    void ForceIt() {
        lifeCycle_.BeginStop(true);
        clock_->Advance(std::chrono::milliseconds(100));
        lifeCycle_.WaitUntilDestroyed();
    }

    InSequence sequence_;
    Lab::CLineList events_;
    Lab::DevHost::CResourceProvider provider_{events_.Sink()};
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    StrictMock<CModuleMock> module_;
    CLifeCycle lifeCycle_{module_, [this] { module_.Destroy(); }, events_.Sink(), clock_};
    const std::map<std::string, std::function<void()>> calls_ = lifeCycle_.SingleCalls(provider_);
};

TEST_F(LifeCycleTest, WholeLifeRunsInTheContractsOrder) {
    ExpectBegin();
    ExpectEnd(false);
    EXPECT_TRUE(lifeCycle_.Begin(provider_));
    Stop(false);
    Stop(false);  // does nothing more
    EXPECT_THAT(events_.Texts(),
                ElementsAre("life call=Initialize result=ok", "life call=Start result=ok",
                            "life call=RequestStop result=ok", "life call=Stop(false) result=true",
                            "life call=destroy result=ok"));
}

TEST_F(LifeCycleTest, BusyModuleIsAskedAgainUntilItHasStopped) {
    clock_->SetAutomaticSleep(true);
    ExpectBegin();
    EXPECT_CALL(module_, RequestStop);
    EXPECT_CALL(module_, Stop(false)).Times(2).WillRepeatedly(Return(false));
    EXPECT_CALL(module_, Stop(false)).WillOnce(Return(true));
    EXPECT_CALL(module_, Destroy);
    lifeCycle_.Begin(provider_);
    Stop(false);
}

TEST_F(LifeCycleTest, ForceEndsAStopThatIsNotGettingAnywhere) {
    BeginAStopThatGetsNowhere();
    ForceIt();
}

TEST_F(LifeCycleTest, ModuleThatCannotInitializeIsOnlyDestroyed) {
    EXPECT_CALL(module_, Initialize).WillOnce(Throw(std::runtime_error("no bus")));
    EXPECT_CALL(module_, Destroy);
    EXPECT_FALSE(lifeCycle_.Begin(provider_));
    EXPECT_THAT(events_.Texts(), ElementsAre("life call=Initialize result=failed text=\"no bus\"",
                                             "life call=destroy result=ok"));
}

TEST_F(LifeCycleTest, ModuleThatCannotStartIsForcedToStop) {
    EXPECT_CALL(module_, Initialize);
    EXPECT_CALL(module_, Start).WillOnce(Throw(std::runtime_error("no thread")));
    ExpectEnd(true);
    EXPECT_FALSE(lifeCycle_.Begin(provider_));
}

TEST_F(LifeCycleTest, SingleCallsAreMadeInAnyOrder) {
    EXPECT_CALL(module_, Stop(true)).WillOnce(Return(true));
    EXPECT_CALL(module_, RequestStop);
    EXPECT_CALL(module_, Start);
    EXPECT_CALL(module_, Initialize);
    EXPECT_CALL(module_, Start).WillOnce(Throw(std::runtime_error("again")));
    EXPECT_CALL(module_, Stop(false)).WillOnce(Return(false));
    EXPECT_CALL(module_, Destroy);
    for (const char* call :
         {"stop force", "request-stop", "start", "initialize", "start", "stop", "destroy"}) {
        calls_.at(call)();
    }
    EXPECT_THAT(events_.Texts(),
                ElementsAre("life call=Stop(true) result=true", "life call=RequestStop result=ok",
                            "life call=Start result=ok", "life call=Initialize result=ok",
                            "life call=Start result=failed text=again",
                            "life call=Stop(false) result=false", "life call=destroy result=ok"));
}

TEST_F(LifeCycleTest, DestroyedModuleIsNotCalledAnyMore) {
    EXPECT_CALL(module_, Destroy);
    calls_.at("destroy")();
    EXPECT_TRUE(lifeCycle_.IsDestroyed());
    for (const auto& [name, call] : calls_) {
        EXPECT_THROW(call(), std::runtime_error) << name;
    }
    Stop(true);
}

TEST_F(LifeCycleTest, ModuleThatIsStoppedIsNotCalledBesideThat) {
    BeginAStopThatGetsNowhere();
    for (const auto& [name, call] : calls_) {
        EXPECT_THROW(call(), std::runtime_error) << name;
    }
    ForceIt();
}

TEST_F(LifeCycleTest, StopOfAModuleThatNeverBeganOnlyDestroysIt) {
    EXPECT_CALL(module_, Destroy);
    Stop(false);
}

TEST_F(LifeCycleTest, ModuleThatNeverBeganIsOnlyDestroyed) {
    EXPECT_CALL(module_, Destroy);
}

TEST_F(LifeCycleTest, ModuleThatWasForgottenIsStoppedByForce) {
    ExpectBegin();
    ExpectEnd(true);
    lifeCycle_.Begin(provider_);
}

}  // namespace
}  // namespace Kyr::Test
