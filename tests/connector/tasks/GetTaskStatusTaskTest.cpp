#include <deque>

#include <boost/weak_ptr.hpp>

#include "connector/tasks/GetTaskStatusTask.h"
#include "host/message/ConnectorRequests.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::Connectors::TCHConnector::CTchRequest;
using Kyr::Common::Message::Connectors::TFDEConnector::CTFDERequest;
using Kyr::Common::Message::Logs::CEventLog;
using Kyr::Test::HexBytes;
using testing::ElementsAre;

class GetTaskStatusTaskTest : public CommonTaskFixture {
  protected:
    GetTaskStatusTaskTest() {
        channel->product = [this](const auto&) {
            if (outcomes.empty()) {
                return NoOutcomeReply();
            }
            const Bytes reply = outcomes.front();
            outcomes.pop_front();
            return reply;
        };
    }
    // The receiver owns the task, and the task the channel that owns the receiver.
    ~GetTaskStatusTaskTest() override { channel->receiver.reset(); }

    boost::shared_ptr<CGetTaskStatusTask> TaskFor(int messageType) const {
        return boost::make_shared<CGetTaskStatusTask>(static_cast<MessageType>(messageType), logger,
                                                      publisher, instance, factory, channel,
                                                      kProduct, clock);
    }
    void Run() { TaskFor(7)->Execute(TriggerOf(2)); }
    std::size_t RequestsFor(int messageType, const MessagePointer& message) const {
        channel->requests.clear();
        TaskFor(messageType)->Execute(message);
        return channel->requests.size();
    }

    /// What the product has to tell; then nothing more.
    std::deque<Bytes> outcomes;
};

TEST_F(GetTaskStatusTaskTest, ServesTheTypeThatItWasMadeFor) {
    EXPECT_EQ(static_cast<int>(TaskFor(7)->GetMessageType()), 7);
    EXPECT_EQ(static_cast<int>(TaskFor(8)->GetMessageType()), 8);
}

TEST_F(GetTaskStatusTaskTest, TriggerOfKindTwoSendsExactlyTheTaskStatusCommand) {
    Run();
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes("0C 00 00 00 00 06 00 01 70 00 00 00")));
    EXPECT_THAT(channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TEST_F(GetTaskStatusTaskTest, OtherKindsAndClassesLeaveTheProductUntouched) {
    for (const int kind : {0, 1, 3, 4, 5, -1}) {
        EXPECT_EQ(RequestsFor(7, TriggerOf(kind)), 0u) << kind;
    }
    EXPECT_EQ(RequestsFor(7, TriggerOf<CTFDERequest>(2)), 0u);
    EXPECT_EQ(RequestsFor(7, Kyr::Test::MakeMessage("other")), 0u);
    EXPECT_EQ(RequestsFor(7, {}), 0u);
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(GetTaskStatusTaskTest, DiskEncryptionTriggersCountByKindTwo) {
    EXPECT_EQ(RequestsFor(8, TriggerOf<CTFDERequest>(2)), 1u);
    EXPECT_EQ(RequestsFor(8, TriggerOf<CTFDERequest>(0)), 0u);
    EXPECT_EQ(RequestsFor(8, TriggerOf(2)), 0u);
}

TEST_F(GetTaskStatusTaskTest, TaskOfAnyOtherTypeIgnoresEveryTrigger) {
    EXPECT_EQ(RequestsFor(9, TriggerOf<CTchRequest>(2)), 0u);
    EXPECT_EQ(RequestsFor(9, TriggerOf(2)), 0u);
}

TEST_F(GetTaskStatusTaskTest, ReplyWithoutPayloadPublishesNothing) {
    Run();
    EXPECT_TRUE(publisher->messages.empty());
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(GetTaskStatusTaskTest, OutcomeIsPublishedAsAReadOnlyTaskEvent) {
    outcomes = {OutcomeReply(0)};
    Run();
    ASSERT_EQ(publisher->messages.size(), 1u);
    const auto event = Published<CEventLog>(0);
    EXPECT_EQ(static_cast<int>(event->GetMessageType()), 10368);
    EXPECT_TRUE(event->IsReadOnly());
    EXPECT_TRUE(event->IsValid());
    EXPECT_THAT(Ids(*event->GetSymbols()),
                ElementsAre(2836, 2834, 2838, 2842, 2846, 2844, 2848, 2853, 2850));
}

TEST_F(GetTaskStatusTaskTest, IdentifiersComeBackInTheirPlaces) {
    outcomes = {OutcomeReply(0)};
    Run();
    const auto symbols = Published<CEventLog>(0)->GetSymbols();
    EXPECT_EQ(symbols->GetUuid(2842).uuid(), "11111111-1111-1111-1111-111111111111");
    EXPECT_EQ(symbols->GetUuid(2844).uuid(), "22222222-2222-2222-2222-222222222222");
    EXPECT_EQ(symbols->GetUuid(2846).uuid(), "33333333-3333-3333-3333-333333333333");
}

TEST_F(GetTaskStatusTaskTest, DoneTaskHasNoDescription) {
    outcomes = {OutcomeReply(1)};
    Run();
    const auto symbols = Published<CEventLog>(0)->GetSymbols();
    EXPECT_EQ(symbols->GetInt32(2836), 1);
    EXPECT_EQ(symbols->GetUuid(2834).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(symbols->GetUtcTime(2838).minute(), 13);
    EXPECT_EQ(symbols->GetResourceId(2848), 0x000000010000000Bu);
    EXPECT_EQ(symbols->GetResourceId(2853), 0x07100000000005E2u);
    EXPECT_EQ(symbols->GetInt64(2850), 30);
    EXPECT_FALSE(symbols->HasSymbol(2913));
}

TEST_F(GetTaskStatusTaskTest, FailedTaskHasADescription) {
    outcomes = {OutcomeReply(7)};
    Run();
    const auto symbols = Published<CEventLog>(0)->GetSymbols();
    EXPECT_EQ(symbols->GetInt32(2836), 4);
    EXPECT_EQ(symbols->GetResourceId(2848), 0x000000010000000Cu);
    EXPECT_EQ(symbols->GetInt64(2850), 40);
    EXPECT_EQ(symbols->GetString(2913), "Task failed");
}

TEST_F(GetTaskStatusTaskTest, ThreeOutcomesTakeFourExchanges) {
    outcomes = {OutcomeReply(0), OutcomeReply(1), OutcomeReply(2)};
    Run();
    EXPECT_EQ(channel->requests.size(), 4u);
    EXPECT_EQ(publisher->messages.size(), 3u);
    EXPECT_THAT(Lines(), ElementsAre("0 Task status received", "0 Task status received",
                                     "0 Task status received"));
    EXPECT_EQ(Published<CEventLog>(2)->GetSymbols()->GetInt64(2850), 40);
}

TEST_F(GetTaskStatusTaskTest, OutcomeIsPublishedBeforeTheNextIsAskedFor) {
    outcomes = {OutcomeReply(0), OutcomeReply(1)};
    std::vector<std::size_t> requestsSoFar;
    publisher->onPublish = [&](const auto&) { requestsSoFar.push_back(channel->requests.size()); };
    Run();
    EXPECT_THAT(requestsSoFar, ElementsAre(1u, 2u));
}

TEST_F(GetTaskStatusTaskTest, UserDataThatAreNotThreePartsAreACountedRetry) {
    outcomes = {OutcomeReply(0, "one;two")};
    EXPECT_EQ(RetryAfter([&] { Run(); }),
              "Task log: Log record has badly formated uuids in user data");
    EXPECT_TRUE(publisher->messages.empty());
    EXPECT_EQ(channel->requests.size(), 1u);  // no further outcome is asked for
}

TEST_F(GetTaskStatusTaskTest, PartsThatAreNoUuidsAreACountedRetry) {
    outcomes = {OutcomeReply(0, "one;two;three")};
    EXPECT_EQ(RetryAfter([&] { Run(); }), "invalid uuid string");
    EXPECT_TRUE(publisher->messages.empty());
}

TEST_F(GetTaskStatusTaskTest, FailureInTheMiddleKeepsWhatWasPublished) {
    outcomes = {OutcomeReply(0), OutcomeReply(0), HexBytes("0C 00 00 00")};
    EXPECT_EQ(RetryAfter([&] { Run(); }), "KelcommChannelBuffer: Buffer is not full enough");
    EXPECT_EQ(publisher->messages.size(), 2u);
}

TEST_F(GetTaskStatusTaskTest, FailedExchangeIsACountedRetry) {
    ProductFails("CKelcommChannel: Send request failed with 7");
    EXPECT_EQ(RetryAfter([&] { Run(); }), "CKelcommChannel: Send request failed with 7");
}

TEST_F(GetTaskStatusTaskTest, BusThatFailsIsACountedRetry) {
    outcomes = {OutcomeReply(0)};
    publisher->onPublish = [](const auto&) { throw std::runtime_error("bus is down"); };
    EXPECT_EQ(RetryAfter([&] { Run(); }), "bus is down");
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(GetTaskStatusTaskTest, NothingKeepsTheTaskOnceTheReceiverIsGone) {
    boost::weak_ptr<CGetTaskStatusTask> weak;
    {
        const auto task = TaskFor(7);
        weak = task;
        task->Execute(TriggerOf(2));
    }
    EXPECT_FALSE(weak.expired());
    channel->SetBufferReceiver({});
    EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
