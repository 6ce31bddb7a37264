#include <stdexcept>

#include <boost/thread/exceptions.hpp>
#include <boost/weak_ptr.hpp>

#include "connector/tasks/WinOvGetRemediationTask.h"
#include "logs/DataMinerMessages.h"
#include "tests/connector/tasks/CollectionFixture.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Test::HexBytes;
using Kyr::Test::TextBytes;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kKey[] = "OV_REMEDIATION_OFFSET";
constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 01 00 10 00";
constexpr char kPublish[] = "publish DataMinerOutOfOrderEventMessage";
constexpr char kNoBlockActions[] = "1 No block actions received from OV Connector";
// Actions: 0A, length, and in it 08, the action type.
constexpr char kBlock[] = "0A 02 08 03 ";
constexpr char kOther[] = "0A 02 08 02 ";

class WinOvGetRemediationTaskTest : public CollectionFixture {
  protected:
    WinOvGetRemediationTaskTest() { ProductAnswers(Reply(kBlock)); }

    void Execute() { task.Execute(MakeTrigger(5)); }
    std::string RetryText() {
        return CountedRetry([this] { Execute(); });
    }
    void SetOffset(const std::string& text) { keyValueStore->Put(kKey, text); }
    std::string Offset() const { return keyValueStore->Text(kKey); }

    CWinOvGetRemediationTask task{logger,  publisher,        channel,      nullptr,
                                  factory, remediationStore, keyValueStore};
};

// Triggers and requests.

TEST_F(WinOvGetRemediationTaskTest, ServesTriggers) {
    EXPECT_EQ(task.GetMessageType(), MessageType::OvAgentRequest);
    EXPECT_EQ(static_cast<int>(task.GetMessageType()), 7);
}

TEST_F(WinOvGetRemediationTaskTest, ActsOnTriggersOfItsKindOnly) {
    int reads = 0;
    keyValueStore->OnGet([&](const auto&) { ++reads; });
    for (const int kind : {0, 1, 2, 3, 4, 6, -1}) {
        EXPECT_NO_THROW(task.Execute(MakeTrigger(kind)));
    }
    EXPECT_EQ(reads, 0);
    EXPECT_THAT(channel->calls, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, MessageOfAnotherClassIsIgnored) {
    EXPECT_NO_THROW(task.Execute(Kyr::Test::MakeMessage("A", MessageType::OvAgentRequest)));
    EXPECT_NO_THROW(task.Execute({}));
    EXPECT_THAT(channel->calls, IsEmpty());
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, CancelDoesNotKeepItFromExecuting) {
    task.Cancel();
    Execute();
    EXPECT_EQ(channel->requests.size(), 1u);
}

TEST_F(WinOvGetRemediationTaskTest, FirstRequestHasOffsetZero) {
    Execute();
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes(kRequest)));
}

TEST_F(WinOvGetRemediationTaskTest, EmptyOffsetIsZero) {
    SetOffset("");
    Execute();
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes(kRequest)));
}

TEST_F(WinOvGetRemediationTaskTest, RequestCarriesTheStoredOffset) {
    SetOffset("300");
    Execute();
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes(std::string(kRequest) + " 08 AC 02")));
}

TEST_F(WinOvGetRemediationTaskTest, ReceiverIsInstalledBeforeTheRequestIsSent) {
    Execute();
    EXPECT_THAT(channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TEST_F(WinOvGetRemediationTaskTest, EveryRequestGetsAReceiverOfItsOwn) {
    Execute();
    const boost::weak_ptr<Common::IBufferReceiver> first = channel->receiver;
    Execute();
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(channel->receiver);
}

TEST_F(WinOvGetRemediationTaskTest, ReceiverKeepsTheTriggerAlive) {
    boost::weak_ptr<Kyr::Common::Kernel::IMessage> observed;
    {
        const auto trigger = MakeTrigger(5);
        observed = trigger;
        task.Execute(trigger);
    }
    EXPECT_FALSE(observed.expired());
    channel->SetBufferReceiver({});
    EXPECT_TRUE(observed.expired());
}

TEST_F(WinOvGetRemediationTaskTest, ReceiverOutlivesTheTask) {
    {
        CWinOvGetRemediationTask shortLived(logger, publisher, channel, nullptr, factory,
                                            remediationStore, keyValueStore);
        shortLived.Execute(MakeTrigger(5));
    }
    channel->receiver->OnBufferReceived(Reply(kBlock));
    EXPECT_EQ(remediationStore->Batches().size(), 2u);
}

// Actions.

TEST_F(WinOvGetRemediationTaskTest, BlockActionsAreStoredAndAllActionsPassedOver) {
    // Types 1, 3, 2, 3; the second block action has a field 2 of its own, "x".
    ProductAnswers(Reply("0A 02 08 01  0A 02 08 03  0A 02 08 02  0A 05 08 03 12 01 78"));
    Execute();
    ASSERT_EQ(remediationStore->Batches().size(), 1u);
    ASSERT_EQ(remediationStore->Batches()[0].size(), 2u);
    EXPECT_EQ(TextBytes(remediationStore->Batches()[0][0]), HexBytes("08 03"));
    EXPECT_EQ(TextBytes(remediationStore->Batches()[0][1]), HexBytes("08 03 12 01 78"));
    EXPECT_EQ(Offset(), "4");
}

TEST_F(WinOvGetRemediationTaskTest, BatchIsStoredThenTheOffsetMovesThenTheDataMinerIsTold) {
    Execute();
    EXPECT_THAT(effects, ElementsAre("store 1", "OV_REMEDIATION_OFFSET=1", kPublish));
}

TEST_F(WinOvGetRemediationTaskTest, TenActionsFromTwentyOnEndAtThirty) {
    SetOffset("20");
    std::string payload = kBlock;
    for (int i = 0; i < 9; ++i) {
        payload += kOther;
    }
    ProductAnswers(Reply(payload));
    Execute();
    EXPECT_EQ(Offset(), "30");
    ASSERT_EQ(publisher->messages.size(), 1u);
    using Event = Kyr::Common::Message::DataMiners::CDataMinerOutOfOrderEventMessage;
    const auto event = boost::dynamic_pointer_cast<Event>(publisher->messages[0]);
    ASSERT_TRUE(event);
    EXPECT_FALSE(event->IsReadOnly());
}

TEST_F(WinOvGetRemediationTaskTest, StoredBatchIsNotLogged) {
    Execute();
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, ActionsThatBlockNothingAreFetchedAgain) {
    ProductAnswers(Reply(std::string("0A 02 08 01 ") + kOther));
    SetOffset("007");
    Execute();
    Execute();
    EXPECT_THAT(Lines(), ElementsAre(kNoBlockActions, kNoBlockActions));
    EXPECT_EQ(channel->requests[0], channel->requests[1]);
    EXPECT_EQ(Offset(), "007");
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, NextBlockActionTakesTheOthersBeforeItAlong) {
    const std::string others = std::string(kOther) + kOther;
    ProductAnswers(Reply(others));
    Execute();
    ProductAnswers(Reply(others + kBlock));
    Execute();
    EXPECT_THAT(effects, ElementsAre("store 1", "OV_REMEDIATION_OFFSET=3", kPublish));
}

TEST_F(WinOvGetRemediationTaskTest, ActionIsStoredInItsOwnSerialization) {
    // Field 2, "x", came before the type; what the host's message does not name is written last.
    ProductAnswers(Reply("0A 05 12 01 78 08 03"));
    Execute();
    ASSERT_EQ(remediationStore->Batches().size(), 1u);
    ASSERT_EQ(remediationStore->Batches()[0].size(), 1u);
    EXPECT_EQ(TextBytes(remediationStore->Batches()[0][0]), HexBytes("08 03 12 01 78"));
}

TEST_F(WinOvGetRemediationTaskTest, ReplyWithoutActionsMovesNothing) {
    ProductAnswers(Reply("10 00"));
    Execute();
    EXPECT_THAT(Lines(), ElementsAre(kNoBlockActions));
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, OnlyTypeThreeBlocks) {
    // None at all, 0, 4, 2^32 + 3 in more digits than the field has (reads as 3), -3.
    ProductAnswers(
        Reply("0A 00  0A 02 08 00  0A 02 08 04  0A 06 08 83 80 80 80 10"
              "0A 0B 08 FD FF FF FF FF FF FF FF FF 01"));
    Execute();
    ASSERT_EQ(remediationStore->Batches().size(), 1u);
    ASSERT_EQ(remediationStore->Batches()[0].size(), 1u);
    EXPECT_EQ(TextBytes(remediationStore->Batches()[0][0]), HexBytes("08 03"));
    EXPECT_EQ(Offset(), "5");
}

TEST_F(WinOvGetRemediationTaskTest, OffsetComesRoundToZero) {
    SetOffset("-1");
    Execute();
    EXPECT_THAT(channel->requests,
                ElementsAre(HexBytes(std::string(kRequest) + " 08 FF FF FF FF FF FF FF FF FF 01")));
    EXPECT_EQ(Offset(), "0");
}

TEST_F(WinOvGetRemediationTaskTest, OffsetThatChangedMeanwhileIsAddedTo) {
    SetOffset("10");
    remediationStore->OnStore([&](const auto&) {
        SetOffset("40");
        return true;
    });
    Execute();
    EXPECT_EQ(Offset(), "41");
}

TEST_F(WinOvGetRemediationTaskTest, NumbersAreWrittenWithoutGrouping) {
    const Kyr::Test::CGroupingLocale grouping;
    SetOffset("1234567");
    Execute();
    EXPECT_EQ(Offset(), "1234568");
    ProductAnswers(Reply("10 FF FF FF FF 0F"));
    Execute();
    EXPECT_THAT(Lines(), ElementsAre("3 Failed to get remediation data from OV Connector with "
                                     "code: 4294967295"));
}

// The product has nothing, or refuses.

TEST_F(WinOvGetRemediationTaskTest, ReplyWithoutPayloadIsLogged) {
    ProductAnswers(Reply(""));
    Execute();
    EXPECT_THAT(Lines(), ElementsAre("1 Empty response received from OV Connector"));
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, ResultCodeIsLogged) {
    ProductAnswers(Reply(std::string(kBlock) + "10 07"));
    Execute();
    EXPECT_THAT(Lines(),
                ElementsAre("3 Failed to get remediation data from OV Connector with code: 7"));
    EXPECT_THAT(effects, IsEmpty());
}

// Replies that should not be.

TEST_F(WinOvGetRemediationTaskTest, ShortReplyIsACountedRetry) {
    for (const std::size_t size : {0, 1, 11, 12, 15}) {
        auto reply = Reply(kBlock);
        reply.resize(size);
        ProductAnswers(reply);
        EXPECT_EQ(RetryText(), "KelcommChannelBuffer: Buffer is not full enough") << size;
    }
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, PayloadThatDoesNotParseHasNoBlockActions) {
    ProductAnswers(Reply("FF"));
    Execute();
    EXPECT_THAT(Lines(), ElementsAre(kNoBlockActions));
}

TEST_F(WinOvGetRemediationTaskTest, CutReplyCountsTheActionsThatWereRead) {
    // The third action is announced with five bytes and has two.
    ProductAnswers(Reply(std::string(kBlock) + kOther + "0A 05 08 03"));
    Execute();
    ASSERT_EQ(remediationStore->Batches().size(), 1u);
    EXPECT_EQ(remediationStore->Batches()[0][0], "\x08\x03");
    EXPECT_EQ(Offset(), "3");
}

TEST_F(WinOvGetRemediationTaskTest, SixteenMebibytesOfBlockActions) {
    constexpr std::size_t kActions = 16384;
    auto reply = HexBytes("0C 00 00 00  00 00 00 00  00 00 00 01");
    for (std::size_t i = 0; i < kActions; ++i) {
        // 1021 bytes: the type, and a field 2 of 1016 bytes.
        reply.insert(reply.end(), {0x0A, 0xFD, 0x07, 0x08, 0x03, 0x12, 0xF8, 0x07});
        reply.insert(reply.end(), 1016, 'x');
    }
    ProductAnswers(reply);
    Execute();
    ASSERT_EQ(remediationStore->Batches().size(), 1u);
    EXPECT_EQ(remediationStore->Batches()[0].size(), kActions);
    EXPECT_EQ(Offset(), "16384");
}

// Failures.

TEST_F(WinOvGetRemediationTaskTest, FailureOfTheChannelIsACountedRetryWithItsText) {
    ProductFails("CKelcommChannel: Send request failed with 9");
    EXPECT_EQ(RetryText(), "CKelcommChannel: Send request failed with 9");
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, OffsetThatIsNoNumberFailsEveryTrigger) {
    SetOffset(" 5");
    EXPECT_EQ(RetryText(), kNotANumber);
    EXPECT_EQ(RetryText(), kNotANumber);
    EXPECT_EQ(Offset(), " 5");
    EXPECT_THAT(channel->calls, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, OffsetThatIsNoNumberAnyMoreIsLeftAsItIs) {
    remediationStore->OnStore([&](const auto&) {
        SetOffset("5a");
        return true;
    });
    EXPECT_EQ(RetryText(), kNotANumber);
    EXPECT_EQ(Offset(), "5a");
    EXPECT_THAT(publisher->messages, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, BatchThatWasNotStoredIsACountedRetry) {
    remediationStore->OnStore([](const auto&) { return false; });
    ProductAnswers(Reply(std::string(kBlock) + kBlock + kOther + kBlock));
    EXPECT_EQ(RetryText(), "OV Remediation: Failed to store");
    EXPECT_THAT(Lines(), ElementsAre("4 OV Remediation: Failed to store with batch size: 3"));
    EXPECT_THAT(effects, IsEmpty());
    EXPECT_EQ(Offset(), "");
    EXPECT_EQ(RetryText(), "OV Remediation: Failed to store");
    EXPECT_EQ(channel->requests[0], channel->requests[1]);
}

TEST_F(WinOvGetRemediationTaskTest, RemediationStoreThatThrowsIsACountedRetry) {
    remediationStore->OnStore(
        [](const auto&) -> bool { throw std::runtime_error("table is gone"); });
    EXPECT_EQ(RetryText(), "table is gone");
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(effects, IsEmpty());
}

TEST_F(WinOvGetRemediationTaskTest, OffsetThatCannotBeStoredStoresTheBatchAgain) {
    keyValueStore->OnSet(
        [](const auto&, const auto&) -> bool { throw std::runtime_error("disk is full"); });
    EXPECT_EQ(RetryText(), "disk is full");
    EXPECT_EQ(RetryText(), "disk is full");
    EXPECT_THAT(effects, ElementsAre("store 1", "store 1"));
}

TEST_F(WinOvGetRemediationTaskTest, OffsetThatFailsSilentlyStoresTheBatchAgain) {
    keyValueStore->OnSet([](const auto&, const auto&) { return false; });
    Execute();
    Execute();
    EXPECT_THAT(effects, ElementsAre("store 1", kPublish, "store 1", kPublish));
    EXPECT_EQ(channel->requests[0], channel->requests[1]);
}

TEST_F(WinOvGetRemediationTaskTest, EventThatCannotBePublishedLeavesTheOffsetMoved) {
    publisher->onPublish = [](const auto&) { throw std::runtime_error("bus is down"); };
    EXPECT_EQ(RetryText(), "bus is down");
    EXPECT_EQ(Offset(), "1");
    publisher->onPublish = nullptr;
    Execute();
    EXPECT_EQ(channel->requests[1], HexBytes(std::string(kRequest) + " 08 01"));
}

TEST_F(WinOvGetRemediationTaskTest, InterruptionIsNoFailure) {
    channel->product = [](const auto&) -> Bytes { throw boost::thread_interrupted(); };
    EXPECT_THROW(Execute(), boost::thread_interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
