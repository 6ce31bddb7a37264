// Every way to end a module, at every stage of its life, with and without a reply thread.
//
// Nothing may hang, leak or be alive afterwards; the sanitizer builds look for the rest.
#include <atomic>
#include <string>
#include <tuple>

#include <boost/thread/thread.hpp>

#include "host/module/Response.h"
#include "tests/connector/ModuleFixture.h"

namespace Kyr::Connectors::Common {
namespace {

enum class Stage {
    kInitialized,
    kConnecting,
    kSleepingBeforeConnection,
    kWaiting,
    kInTask,
    kInInterruptibleTask,
    kSleepingBeforeReconnection,
    kReconnecting,
};

/// R RequestStop, G Stop(false) until it is true, g Stop(false) once, F Stop(true), S Start.
/// The module is destroyed at the end of each.
constexpr const char* kOrders[] = {"",   "F",  "G",  "R",   "RG",  "RF",  "GF", "FG",
                                   "gR", "RR", "GG", "RgF", "GRG", "FRF", "SG", "FSF"};

class LifeCycleWalkTest : public ModuleFixture,
                          public testing::WithParamInterface<std::tuple<Stage, const char*, bool>> {
  protected:
    void TearDown() override {
        over = true;
        ticker.join();
    }

    /// An interruption point until the test lets everything go.
    void Block() {
        inside = true;
        while (!released) {
            boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
        }
    }
    void BlockUninterruptibly() {
        const boost::this_thread::disable_interruption notInterruptible;
        Block();
    }
    bool AwaitInside() {
        return Kyr::Test::Await([this] { return inside.load(); });
    }

    void Reach(Stage stage) {
        switch (stage) {
            case Stage::kInitialized:
                module->Initialize(host);
                return;
            case Stage::kConnecting:
                module->ThenConnectBy([this] {
                    Block();
                    return true;
                });
                Start();
                ASSERT_TRUE(AwaitInside());
                return;
            case Stage::kSleepingBeforeConnection:
                module->ThenConnect(false);
                Start();
                ASSERT_TRUE(clock->AwaitSleepers(1));
                return;
            case Stage::kWaiting:
                StartAndConnect();
                return;
            case Stage::kInTask:
                ReachTask([this](const auto&) { BlockUninterruptibly(); });
                ASSERT_TRUE(AwaitInside());
                return;
            case Stage::kInInterruptibleTask:
                ReachTask([this](const auto&) { Block(); });
                ASSERT_TRUE(AwaitInside());
                return;
            case Stage::kSleepingBeforeReconnection:
                module->ThenConnect(true).ThenConnect(false);
                ReachTask([](const auto&) { throw CRetryException("no answer", false); });
                ASSERT_TRUE(clock->AwaitSleepers(1));
                return;
            case Stage::kReconnecting:
                module->ThenConnect(true).ThenConnectBy([this] {
                    Block();
                    return true;
                });
                ReachTask([](const auto&) { throw CRestartNeededException("restart"); });
                ASSERT_TRUE(clock->AwaitSleepers(1));
                clock->Advance(std::chrono::seconds(10));
                ASSERT_TRUE(AwaitInside());
                return;
        }
    }
    void ReachTask(Kyr::Test::CScriptedTask::Action action) {
        AddTask().Then(std::move(action)).ThenReturn();
        StartAndConnect();
        Deliver(MakeTaskMessage());
    }

    /// From here on time goes by, and what blocks is let go after a while.
    void LetTimePass() {
        ticker = boost::thread([this] {
            for (int round = 0; !over; ++round) {
                boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
                clock->Advance(std::chrono::seconds(1));
                released = released || round > 5;
            }
        });
    }
    void Do(char step) {
        switch (step) {
            case 'R':
                module->RequestStop();
                return;
            case 'G':
                ASSERT_TRUE(Kyr::Test::Await([this] { return module->Stop(false); }));
                return;
            case 'g':
                module->Stop(false);
                return;
            case 'F':
                EXPECT_TRUE(module->Stop(true));
                return;
            case 'S':
                module->Start();
                return;
        }
    }

    std::atomic<bool> inside{false};
    std::atomic<bool> released{false};
    std::atomic<bool> over{false};
    boost::thread ticker;
};

TEST_P(LifeCycleWalkTest, EndsWithoutATrace) {
    const auto [stage, order, withReplies] = GetParam();
    Reach(stage);
    if (withReplies) {
        Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    }
    LetTimePass();
    for (const char* step = order; *step != '\0'; ++step) {
        Do(*step);
    }
    module.reset();
    EXPECT_TRUE(clock->AwaitSleepers(0));
    EXPECT_TRUE(clock->AwaitWaiters(0));
    const std::size_t lines = host.log->Lines().size();
    // The bus keeps the queues for ever; pushing into them must not wake anything.
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(2));
    EXPECT_EQ(host.log->Lines().size(), lines);
}

/// For example "InTask_RGdestroyed_replies".
std::string NameOfWalk(const testing::TestParamInfo<LifeCycleWalkTest::ParamType>& walk) {
    static constexpr const char* kStages[] = {
        "Initialized", "Connecting",          "SleepingBeforeConnection",   "Waiting",
        "InTask",      "InInterruptibleTask", "SleepingBeforeReconnection", "Reconnecting"};
    const auto [stage, order, withReplies] = walk.param;
    return std::string(kStages[static_cast<int>(stage)]) + "_" + order + "destroyed" +
           (withReplies ? "_replies" : "");
}

INSTANTIATE_TEST_SUITE_P(
    AllStages, LifeCycleWalkTest,
    testing::Combine(testing::Values(Stage::kInitialized, Stage::kConnecting,
                                     Stage::kSleepingBeforeConnection, Stage::kWaiting,
                                     Stage::kInTask, Stage::kInInterruptibleTask,
                                     Stage::kSleepingBeforeReconnection, Stage::kReconnecting),
                     testing::ValuesIn(kOrders), testing::Bool()),
    NameOfWalk);

}  // namespace
}  // namespace Kyr::Connectors::Common
