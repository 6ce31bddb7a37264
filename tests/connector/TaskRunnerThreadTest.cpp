// The life of a runner's thread, without a module around it.
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/TaskRunner.h"
#include "tests/support/host/FixedInstance.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/time/Await.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {
namespace {

using testing::ElementsAre;

/// Connects while `available` is set.
class CCountingConnection : public IProductConnection {
  public:
    bool Connect() override { return available; }
    bool Reconnect() override { return available; }
    void Disconnect() override {
        // Gives the time in which somebody who does not wait for the thread would go on.
        for (int turn = 0; turn < 1000; ++turn) {
            boost::this_thread::yield();
        }
        ++disconnections;
    }
    std::chrono::milliseconds ReconnectDelay() const override {
        return std::chrono::milliseconds(10000);
    }

    std::atomic<bool> available{true};
    std::atomic<int> disconnections{0};
};

class TaskRunnerThreadTest : public testing::Test {
  protected:
    const boost::shared_ptr<Kyr::Test::CManualClock> clock =
        boost::make_shared<Kyr::Test::CManualClock>();
    CCountingConnection connection;
    Kyr::Test::CCapturingLogger logger;
    Kyr::Test::CRecordingPublisher publisher;
    Kyr::Test::CFixedInstance instance;
    std::optional<CTaskRunner> runner{
        std::in_place, "R", connection, CTaskRunner::Services{logger, publisher, instance}, 1u,
        clock};
};

TEST_F(TaskRunnerThreadTest, RunnerThatWasNotStartedIsNotConnected) {
    EXPECT_FALSE(runner->InterruptUnlessConnected());
}

TEST_F(TaskRunnerThreadTest, ConnectedThreadIsNotInterrupted) {
    runner->Start();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_TRUE(runner->InterruptUnlessConnected());
    EXPECT_TRUE(clock->AwaitWaiters(1));
    EXPECT_EQ(connection.disconnections, 0);
}

TEST_F(TaskRunnerThreadTest, ThreadThatIsStartedAgainIsNotConnectedBeforeItConnects) {
    runner->Start();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_TRUE(runner->Wake());
    runner->Join();
    connection.available = false;
    runner->Start();
    ASSERT_TRUE(clock->AwaitSleepers(1));
    EXPECT_FALSE(runner->InterruptUnlessConnected());
    runner->Join();
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "2 Disconnecting from product", "2 Connecting to product",
                            "4 Product is not available, canceling tasks"));
}

TEST_F(TaskRunnerThreadTest, DestroyedRunnerHasEndedItsThread) {
    runner->Start();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    runner.reset();
    EXPECT_EQ(connection.disconnections, 1);
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("2 Connecting to product", "2 Connected to product, processing tasks",
                            "4 Task processing was interrupted", "2 Disconnecting from product"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
