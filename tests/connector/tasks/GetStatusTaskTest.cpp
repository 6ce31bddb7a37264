#include <boost/weak_ptr.hpp>

#include "connector/tasks/GetStatusTask.h"
#include "host/message/ConnectorRequests.h"
#include "tests/connector/tasks/CommonTaskFixture.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::Connectors::TCHConnector::CTchRequest;
using Kyr::Common::Message::Connectors::TFDEConnector::CTFDERequest;
using Kyr::Common::Message::Logs::CStatusLog;
using Kyr::Test::HexBytes;
using Kyr::Test::TextBytes;
using testing::ElementsAre;

class GetStatusTaskTest : public CommonTaskFixture {
  protected:
    boost::shared_ptr<CGetStatusTask> TaskFor(int messageType) const {
        return boost::make_shared<CGetStatusTask>(static_cast<MessageType>(messageType), logger,
                                                  publisher, instance, factory, channel, kProduct,
                                                  17, clock);
    }
    void Run() { TaskFor(7)->Execute(TriggerOf(0)); }
    /// How many requests the product gets when the task of this type is offered `message`.
    std::size_t RequestsFor(int messageType, const MessagePointer& message) const {
        channel->requests.clear();
        ProductHasNoProblems();
        TaskFor(messageType)->Execute(message);
        return channel->requests.size();
    }
    void ProductHasNoProblems() const {
        channel->product = [](const auto&) { return StatusReply(""); };
    }
    static Bytes StatusReply(const std::string& records) {
        return ReplyWith(
            TextBytes("<TULK><SECTION><STATUS>" + records + "</STATUS></SECTION></TULK>"));
    }
};

TEST_F(GetStatusTaskTest, ServesTheTypeThatItWasMadeFor) {
    EXPECT_EQ(static_cast<int>(TaskFor(7)->GetMessageType()), 7);
    EXPECT_EQ(static_cast<int>(TaskFor(8)->GetMessageType()), 8);
}

TEST_F(GetStatusTaskTest, TriggerOfKindZeroSendsExactlyTheStatusCommand) {
    ProductHasNoProblems();
    Run();
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes("0C 00 00 00 00 06 00 01 21 00 00 00")));
    EXPECT_THAT(channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TEST_F(GetStatusTaskTest, OtherKindsLeaveTheProductUntouched) {
    for (const int kind : {1, 2, 3, 4, 5, -1}) {
        EXPECT_EQ(RequestsFor(7, TriggerOf(kind)), 0u) << kind;
    }
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(GetStatusTaskTest, MessageOfAnotherClassLeavesTheProductUntouched) {
    EXPECT_EQ(RequestsFor(7, Kyr::Test::MakeMessage("other")), 0u);
    EXPECT_EQ(RequestsFor(7, TriggerOf<CTFDERequest>(0)), 0u);
    EXPECT_EQ(RequestsFor(7, {}), 0u);
}

TEST_F(GetStatusTaskTest, DiskEncryptionTriggersCountByKindZero) {
    EXPECT_EQ(RequestsFor(8, TriggerOf<CTFDERequest>(0)), 1u);
    EXPECT_EQ(RequestsFor(8, TriggerOf<CTFDERequest>(1)), 0u);
    EXPECT_EQ(RequestsFor(8, TriggerOf(0)), 0u);
}

TEST_F(GetStatusTaskTest, TriggersOfTypeNineCountByKindOne) {
    EXPECT_EQ(RequestsFor(9, TriggerOf<CTchRequest>(1)), 1u);
    EXPECT_EQ(RequestsFor(9, TriggerOf<CTchRequest>(0)), 0u);
    EXPECT_EQ(RequestsFor(9, TriggerOf<CTFDERequest>(1)), 0u);
}

TEST_F(GetStatusTaskTest, TaskOfAnyOtherTypeIgnoresEveryTrigger) {
    EXPECT_EQ(RequestsFor(10, TriggerOf(0)), 0u);
    EXPECT_EQ(RequestsFor(10, TriggerOf<CTFDERequest>(0)), 0u);
    EXPECT_EQ(RequestsFor(10, TriggerOf<CTchRequest>(1)), 0u);
}

TEST_F(GetStatusTaskTest, StepsAreLoggedInOrder) {
    ProductAnswers(StatusReply(R"(<RECORD STATUS="0" CATEGORY_RES_ID="1" STATUS_RES_ID="2"/>)"
                               R"(<RECORD STATUS="FFFFFFFF"/>)"));
    Run();
    EXPECT_THAT(Lines(), ElementsAre("1 Protection status log raw content: <TULK><SECTION><STATUS>"
                                     R"(<RECORD STATUS="0" CATEGORY_RES_ID="1" STATUS_RES_ID="2"/>)"
                                     R"(<RECORD STATUS="FFFFFFFF"/>)"
                                     "</STATUS></SECTION></TULK>",
                                     "0 Protection status log metadata received, size: 2",
                                     "0 Protection status log deserialized and published"));
}

TEST_F(GetStatusTaskTest, FormatMarksAndLineBreaksOfTheReplyAreLoggedAsTheyAre) {
    ProductAnswers(StatusReply("<!-- %s%n {}\n4 forged -->"));
    Run();
    EXPECT_THAT(Lines(), ElementsAre("1 Protection status log raw content: <TULK><SECTION><STATUS>"
                                     "<!-- %s%n {}\n4 forged --></STATUS></SECTION></TULK>",
                                     "0 Protection status log metadata received, size: 0",
                                     "0 Protection status log deserialized and published"));
}

TEST_F(GetStatusTaskTest, ProblemIsPublishedAsAReadOnlyStatusLog) {
    ProductAnswers(StatusReply(R"(<RECORD STATUS="2" CATEGORY_RES_ID="71000000000022C")"
                               R"( STATUS_RES_ID="7100000000002FF"/>)"));
    Run();
    ASSERT_EQ(publisher->messages.size(), 1u);
    const auto log = Published<CStatusLog>(0);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10044);
    EXPECT_TRUE(log->IsReadOnly());
    EXPECT_TRUE(log->IsValid());
    ASSERT_EQ(log->GetSymbols()->GetRowCount(), 1u);
    const auto row = log->GetSymbols()->GetRow(0);
    EXPECT_EQ(row->GetInt64(241), 5);
    EXPECT_EQ(row->GetInt64(244), 17);
    EXPECT_EQ(row->GetResourceId(245), 0x07100000000005E2u);
    EXPECT_EQ(row->GetResourceId(246), 0x071000000000022Cu);
    EXPECT_EQ(row->GetResourceId(248), 0x07100000000002FFu);
}

TEST_F(GetStatusTaskTest, LinesComeAroundThePublishing) {
    std::size_t linesBefore = 0;
    publisher->onPublish = [&](const auto&) { linesBefore = Lines().size(); };
    ProductHasNoProblems();
    Run();
    EXPECT_EQ(linesBefore, 2u);
    EXPECT_EQ(Lines().size(), 3u);
}

TEST_F(GetStatusTaskTest, ShortReplyIsACountedRetry) {
    ProductAnswers(HexBytes("0C 00 00 00 00 00 00 00 00 00 00"));
    EXPECT_EQ(RetryAfter([&] { Run(); }), "KelcommChannelBuffer: Buffer is not full enough");
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(GetStatusTaskTest, UnknownStatusPublishesNothing) {
    ProductAnswers(StatusReply(R"(<RECORD STATUS="1" CATEGORY_RES_ID="1" STATUS_RES_ID="2"/>)"
                               R"(<RECORD STATUS="10" CATEGORY_RES_ID="1" STATUS_RES_ID="2"/>)"));
    EXPECT_EQ(RetryAfter([&] { Run(); }), "Unknown protection status");
    EXPECT_TRUE(publisher->messages.empty());
}

TEST_F(GetStatusTaskTest, ReplyThatCannotBeReadIsACountedRetry) {
    for (const char* text : {"<TULK>", "<TULK><SECTION/></TULK>",
                             "<TULK><SECTION><STATUS><RECORD/></STATUS></SECTION></TULK>"}) {
        ProductAnswers(ReplyWith(TextBytes(text)));
        EXPECT_NE(RetryAfter([&] { Run(); }), "no retry was asked for") << text;
    }
    EXPECT_TRUE(publisher->messages.empty());
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(GetStatusTaskTest, EmptyReplyDoesNotBringTheLastStatusBack) {
    ProductHasNoProblems();
    Run();
    ProductAnswers(ReplyWith({}));
    EXPECT_NE(RetryAfter([&] { Run(); }), "no retry was asked for");
    EXPECT_EQ(publisher->messages.size(), 1u);
}

TEST_F(GetStatusTaskTest, BusThatFailsIsACountedRetry) {
    ProductHasNoProblems();
    publisher->onPublish = [](const auto&) { throw std::runtime_error("bus is down"); };
    EXPECT_EQ(RetryAfter([&] { Run(); }), "bus is down");
    EXPECT_EQ(Lines().size(), 2u);  // the line about the published log is not written
}

TEST_F(GetStatusTaskTest, InstanceThatIsNoUuidIsACountedRetry) {
    ProductHasNoProblems();
    instance->uuid = "nobody";
    EXPECT_EQ(RetryAfter([&] { Run(); }), "invalid uuid string");
    EXPECT_TRUE(publisher->messages.empty());
}

TEST_F(GetStatusTaskTest, FailedExchangeIsACountedRetry) {
    ProductFails("CKelcommChannel: Send request failed with 7");
    EXPECT_EQ(RetryAfter([&] { Run(); }), "CKelcommChannel: Send request failed with 7");
}

TEST_F(GetStatusTaskTest, EachRequestHasAReceiverOfItsOwn) {
    ProductHasNoProblems();
    Run();
    const boost::weak_ptr<IBufferReceiver> first = channel->receiver;
    EXPECT_FALSE(first.expired());
    Run();
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(publisher->messages.size(), 2u);
}

TEST_F(GetStatusTaskTest, ReceiverOutlivesTheTask) {
    ProductHasNoProblems();
    Run();  // the task is gone when this returns
    channel->receiver->OnBufferReceived(StatusReply(""));
    EXPECT_EQ(publisher->messages.size(), 2u);
}

TEST_F(GetStatusTaskTest, CancelledTaskStillAsksTheProduct) {
    ProductHasNoProblems();
    const auto task = TaskFor(7);
    task->Cancel();
    task->Execute(TriggerOf(0));
    EXPECT_EQ(channel->requests.size(), 1u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
