// What the host is told first of a task that failed: the event, then the line.
#include <stdexcept>

#include "tests/connector/ModuleFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Module::CLocalizedException;
using Kyr::Test::CScriptedTask;
using testing::ElementsAre;

/// Bus and log in one order: each event is a line of the log, "0 event" and its severity.
class EventOrderTest : public ModuleFixture {
  protected:
    EventOrderTest() {
        host.bus->OnPublish([this](const auto& message) {
            const auto event =
                boost::dynamic_pointer_cast<Kyr::Common::Message::Logs::CEventLog>(message);
            ASSERT_NE(event, nullptr);
            const std::int64_t severity = event->GetSymbols()->GetInt64(2850);
            host.log->Log("event " + std::to_string(severity), 0, "bus");
        });
    }
    /// Has a task fail with `exception` once; it succeeds when it is tried again.
    template <typename Exception>
    Strings LinesOfFailure(Exception exception) {
        AddTask().ThenThrow(exception).ThenReturn();
        clock->SetAutomaticSleep(true);
        StartAndConnect();
        Deliver(MakeTaskMessage());
        EXPECT_TRUE(host.log->AwaitText("failure"));
        EXPECT_TRUE(clock->AwaitWaiters(1));
        Finish();
        return LinesWhileConnected();
    }
};

TEST_F(EventOrderTest, LocalizedFailureIsAnEventAndThenALine) {
    EXPECT_THAT(LinesOfFailure(CLocalizedException("failure", 1, 2)),
                ElementsAre("0 event 40", "4 failure"));
}

TEST_F(EventOrderTest, FailureToBeRetriedIsAnEventAndThenALine) {
    EXPECT_THAT(LinesOfFailure(CRetryException("failure", false)),
                ElementsAre("0 event 20", "4 failure", "2 Reconnecting to product"));
}

TEST_F(EventOrderTest, OtherFailureIsAnEventAndThenALine) {
    EXPECT_THAT(LinesOfFailure(std::runtime_error("failure")),
                ElementsAre("0 event 40", "4 failure"));
}

TEST_F(EventOrderTest, ExhaustedRetriesAreAnEventAndThenALine) {
    CScriptedTask& task = AddTask().ThenThrow(CRetryException("failure", false));
    clock->SetAutomaticSleep(true);
    StartAndConnect();
    Deliver(MakeTaskMessage());
    ASSERT_TRUE(Kyr::Test::Await([&] { return task.ExecutionCount() == 2; }));
    ASSERT_TRUE(clock->AwaitWaiters(1));
    Finish();
    EXPECT_THAT(
        LinesWhileConnected(),
        ElementsAre("0 event 20", "4 failure", "2 Reconnecting to product",  //
                    "0 event 20", "4 failure", "2 Reconnecting to product",  //
                    "0 event 40",
                    "4 Message task was canceled because maximum retry count was reached, message "
                    "was: KillProcessByPid"));
}

TEST_F(EventOrderTest, CancelledMessageIsAnEventAndThenALine) {
    AddTask();
    module->ThenConnect(false);
    Start();
    ASSERT_TRUE(clock->AwaitSleepers(1));
    Deliver(MakeTaskMessage());
    EXPECT_TRUE(module->Stop(false));
    EXPECT_THAT(
        host.log->Lines(),
        ElementsAre("2 Connecting to product", "4 Product is not available, canceling tasks",
                    "0 event 40",
                    "4 Message task was canceled because product is not available, message was: "
                    "KillProcessByPid"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
