#include <stdexcept>

#include "tests/connector/tasks/CollectionKinds.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Test::HexBytes;
using Kyr::Test::TextBytes;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kPublish[] = "publish DataMinerOutOfOrderEventMessage";
constexpr char kNoBlockActions[] = "1 No block actions received from OV Connector";
// Actions: 0A, length, and in it 08, the action type.
constexpr char kBlock[] = "0A 02 08 03 ";
constexpr char kOther[] = "0A 02 08 02 ";

using WinOvGetRemediationTaskTest = CollectionKindFixture<RemediationActions>;

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

TEST_F(WinOvGetRemediationTaskTest, OffsetThatChangedMeanwhileIsAddedTo) {
    SetOffset("10");
    remediationStore->OnStore([&](const auto&) {
        SetOffset("40");
        return true;
    });
    Execute();
    EXPECT_EQ(Offset(), "41");
}

// Replies that should not be.

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
    EXPECT_EQ(channel->requests[1], HexBytes(std::string(RemediationActions::kRequest) + " 08 01"));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
