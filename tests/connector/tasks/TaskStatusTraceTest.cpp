// Chains of task outcomes as the product, the bus and the log see them: every step, in order.
#include <deque>
#include <functional>
#include <stdexcept>
#include <utility>

#include "connector/tasks/GetTaskStatusTask.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::Logs::CEventLog;
using testing::ElementsAre;

class TaskStatusTraceTest : public CommonTaskFixture {
  protected:
    TaskStatusTraceTest() {
        channel->product = [this](const auto&) {
            if (outcomes.empty()) {
                return NoOutcomeReply();
            }
            const Bytes reply = outcomes.front();
            outcomes.pop_front();
            return reply;
        };
        publisher->onPublish = [this](const auto& message) {
            const auto event = boost::dynamic_pointer_cast<CEventLog>(message);
            Step("publish " + std::to_string(event->GetSymbols()->GetInt64(2850)));
            if (refusals > 0) {
                --refusals;
                throw std::runtime_error("bus is down");
            }
        };
        logger->Capture().OnLine([this](const auto&) {
            Step("line");
            if (afterLine) {
                std::exchange(afterLine, nullptr)();
            }
        });
    }
    ~TaskStatusTraceTest() override { channel->receiver.reset(); }

    void Step(const std::string& step) { channel->calls.push_back(step); }
    void Run() { task->Execute(TriggerOf(2)); }
    std::string RetryText() {
        return RetryAfter([this] { Run(); });
    }

    /// What the product has to tell; then nothing more.
    std::deque<Bytes> outcomes;
    int refusals = 0;                 // of the bus, from now on
    std::function<void()> afterLine;  // once
    const boost::shared_ptr<CGetTaskStatusTask> task =
        boost::make_shared<CGetTaskStatusTask>(MessageType::OvAgentRequest, logger, publisher,
                                               instance, factory, channel, kProduct, clock);
    /// Calls of the channel, "publish <severity>" and "line", in order.
    const std::vector<std::string>& trace = channel->calls;
};

TEST_F(TaskStatusTraceTest, EachOutcomeIsToldBeforeTheNextReceiverIsSet) {
    outcomes = {OutcomeReply(0), OutcomeReply(1), OutcomeReply(7)};
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",  //
                                   "SetBufferReceiver", "Send", "publish 30", "line",  //
                                   "SetBufferReceiver", "Send", "publish 40", "line",  //
                                   "SetBufferReceiver", "Send"));
    EXPECT_THAT(Lines(), ElementsAre("0 Task status received", "0 Task status received",
                                     "0 Task status received"));
}

TEST_F(TaskStatusTraceTest, EndOfTheChainIsAskedForOnceATrigger) {
    outcomes = {OutcomeReply(0)};
    Run();
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",
                                   "SetBufferReceiver", "Send", "SetBufferReceiver", "Send"));
}

TEST_F(TaskStatusTraceTest, BusThatFailsEndsTheChain) {
    outcomes = {OutcomeReply(0), OutcomeReply(1), OutcomeReply(7)};
    afterLine = [this] { refusals = 1; };
    EXPECT_EQ(RetryText(), "bus is down");
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",
                                   "SetBufferReceiver", "Send", "publish 30"));
}

TEST_F(TaskStatusTraceTest, ReplyThatCannotBeReadEndsTheChainAndTheRetryAsksForTheNext) {
    outcomes = {OutcomeReply(0), OutcomeReply(1, "one;two"), OutcomeReply(7)};
    EXPECT_EQ(RetryText(), "Task log: Log record has badly formated uuids in user data");
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",  //
                                   "SetBufferReceiver", "Send",                        //
                                   "SetBufferReceiver", "Send", "publish 40", "line",  //
                                   "SetBufferReceiver", "Send"));
}

TEST_F(TaskStatusTraceTest, OutcomeOfNoTaskEndsTheChainAndTheRetryAsksForTheNext) {
    outcomes = {OutcomeReply(0), OutcomeReply(1, "one;two;three"), OutcomeReply(7)};
    EXPECT_EQ(RetryText(), "invalid uuid string");
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",  //
                                   "SetBufferReceiver", "Send",                        //
                                   "SetBufferReceiver", "Send", "publish 40", "line",  //
                                   "SetBufferReceiver", "Send"));
}

TEST_F(TaskStatusTraceTest, ProductThatFailsEndsTheChainAndTheRetryAsksForTheNext) {
    outcomes = {OutcomeReply(0), OutcomeReply(7)};
    const auto product = channel->product;
    afterLine = [this] { ProductFails("CKelcommChannel: Send request failed with 7"); };
    EXPECT_EQ(RetryText(), "CKelcommChannel: Send request failed with 7");
    channel->product = product;
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20", "line",  //
                                   "SetBufferReceiver", "Send",                        //
                                   "SetBufferReceiver", "Send", "publish 40", "line",  //
                                   "SetBufferReceiver", "Send"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
