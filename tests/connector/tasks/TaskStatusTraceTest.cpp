// Chains of task outcomes as the product, the bus and the log see them: every step, in order.
#include <deque>
#include <functional>
#include <stdexcept>
#include <utility>

#include <boost/thread/exceptions.hpp>

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

TEST_F(TaskStatusTraceTest, ReplyWithoutBytesIsShortAndNotKept) {
    outcomes = {Bytes(), OutcomeReply(7)};
    EXPECT_EQ(RetryText(), "KelcommChannelBuffer: Buffer is not full enough");
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send",                        //
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

// The product has forgotten an outcome that it has handed out.

TEST_F(TaskStatusTraceTest, OutcomeThatWasNotPublishedIsPublishedBeforeTheNextRequest) {
    outcomes = {OutcomeReply(0), OutcomeReply(7)};
    refusals = 1;
    EXPECT_EQ(RetryText(), "bus is down");
    Run();
    EXPECT_THAT(trace, ElementsAre("SetBufferReceiver", "Send", "publish 20",          //
                                   "publish 20", "line",                               //
                                   "SetBufferReceiver", "Send", "publish 40", "line",  //
                                   "SetBufferReceiver", "Send"));
    EXPECT_EQ(publisher->messages.size(), 2u);
    EXPECT_THAT(Lines(), ElementsAre("0 Task status received", "0 Task status received"));
}

TEST_F(TaskStatusTraceTest, NothingIsAskedForWhileAnOutcomeCannotBePublished) {
    outcomes = {OutcomeReply(0), OutcomeReply(7)};
    refusals = 3;
    EXPECT_EQ(RetryText(), "bus is down");
    EXPECT_EQ(RetryText(), "bus is down");
    EXPECT_EQ(RetryText(), "bus is down");
    EXPECT_THAT(trace,
                ElementsAre("SetBufferReceiver", "Send", "publish 20", "publish 20", "publish 20"));
    EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(TaskStatusTraceTest, KeptOutcomeIsPublishedOnce) {
    outcomes = {OutcomeReply(0)};
    refusals = 1;
    EXPECT_EQ(RetryText(), "bus is down");
    Run();
    Run();
    EXPECT_EQ(publisher->messages.size(), 1u);
}

TEST_F(TaskStatusTraceTest, KeptOutcomeIsTheProductsUnchanged) {
    outcomes = {OutcomeReply(7)};
    refusals = 1;
    EXPECT_EQ(RetryText(), "bus is down");
    Run();
    const auto symbols = Published<CEventLog>(0)->GetSymbols();
    EXPECT_EQ(symbols->GetUuid(2842).uuid(), "11111111-1111-1111-1111-111111111111");
    EXPECT_EQ(symbols->GetUuid(2844).uuid(), "22222222-2222-2222-2222-222222222222");
    EXPECT_EQ(symbols->GetUuid(2846).uuid(), "33333333-3333-3333-3333-333333333333");
    EXPECT_EQ(symbols->GetInt64(2850), 40);
    EXPECT_EQ(symbols->GetString(2913), "Task failed");
}

TEST_F(TaskStatusTraceTest, OutcomeIsKeptWhileTheInstanceIsNoUuid) {
    outcomes = {OutcomeReply(7)};
    instance->uuid = "not yet";
    EXPECT_EQ(RetryText(), "invalid uuid string");
    EXPECT_EQ(RetryText(), "invalid uuid string");
    instance->uuid = "12345678-9abc-def0-1234-56789abcdef0";
    Run();
    EXPECT_EQ(publisher->messages.size(), 1u);
}

TEST_F(TaskStatusTraceTest, TriggerOfAnotherKindPublishesNothingThatWasKept) {
    outcomes = {OutcomeReply(7)};
    refusals = 1;
    EXPECT_EQ(RetryText(), "bus is down");
    task->Execute(TriggerOf(0));
    EXPECT_TRUE(publisher->messages.empty());
}

TEST_F(TaskStatusTraceTest, OutcomeIsKeptWhenItsPublisherIsInterrupted) {
    outcomes = {OutcomeReply(7)};
    const auto bus = publisher->onPublish;
    publisher->onPublish = [](const auto&) { throw boost::thread_interrupted(); };
    EXPECT_THROW(Run(), boost::thread_interrupted);
    publisher->onPublish = bus;
    Run();
    EXPECT_EQ(publisher->messages.size(), 1u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
