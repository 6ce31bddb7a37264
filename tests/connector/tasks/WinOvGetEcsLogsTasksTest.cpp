// Both ECS log tasks: what they make of records.
#include <stdexcept>

#include "tests/connector/tasks/CollectionKinds.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Test::HexBytes;
using testing::ElementsAre;
using testing::IsEmpty;

template <typename Kind>
class WinOvGetEcsLogsTasksTest : public CollectionKindFixture<Kind> {
  protected:
    static constexpr char kTwoRecords[] = "0A 01 62  0A 01 61";  // "b", "a"

    WinOvGetEcsLogsTasksTest() { this->ProductAnswers(this->Reply(kTwoRecords)); }

    /// The records of the message that was published as number `index`.
    std::vector<std::string> Published(std::size_t index = 0) const {
        if (index >= this->publisher->messages.size()) {
            return {"nothing was published"};
        }
        return dynamic_cast<const typename Kind::StoreMessage&>(*this->publisher->messages[index])
            .GetLogs();
    }
    static std::string Stored(const std::string& text) {
        return Kind::kKey + std::string("=") + text;
    }
};

using Kinds = testing::Types<IndicatorLogs, TelemetryLogs>;
TYPED_TEST_SUITE(WinOvGetEcsLogsTasksTest, Kinds, CollectionNames);

// Records.

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsArePublishedInTheProductsOrder) {
    this->Execute();
    EXPECT_THAT(this->Published(), ElementsAre("b", "a"));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsArePassedOnByteForByte) {
    // "", a zero byte between two letters, three bytes of UTF-8.
    this->ProductAnswers(this->Reply("0A 00  0A 03 61 00 62  0A 03 E2 82 AC"));
    this->Execute();
    EXPECT_THAT(this->Published(), ElementsAre("", std::string("a\0b", 3), "\xE2\x82\xAC"));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, PublishedMessageIsWritable) {
    this->Execute();
    ASSERT_EQ(this->publisher->messages.size(), 1u);
    EXPECT_FALSE(
        dynamic_cast<Kyr::Common::Message::CMessage&>(*this->publisher->messages[0]).IsReadOnly());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, FiveRecordsStoreFive) {
    this->ProductAnswers(this->Reply("0A 01 61  0A 01 62  0A 01 63  0A 01 64  0A 01 65"));
    this->Execute();
    EXPECT_EQ(this->Offset(), "5");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsAreAddedToTheOffset) {
    this->SetOffset("98");
    this->Execute();
    EXPECT_EQ(this->Offset(), "100");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetMovesAfterTheRecordsWerePublished) {
    this->Execute();
    EXPECT_THAT(this->effects, ElementsAre(TypeParam::kPublish, this->Stored("2")));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, PublishingIsAnnounced) {
    this->publisher->onPublish = [&](const auto&) {
        EXPECT_THAT(this->Lines(), ElementsAre(TypeParam::kPublishing));
    };
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(TypeParam::kPublishing));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, BatchWithoutRecordsIsPublishedAndRewritesTheOffset) {
    this->ProductAnswers(this->Reply("10 00"));
    for (const auto& [before, after] :
         {std::pair{"", "0"}, {"+7", "7"}, {"007", "7"}, {"-1", "18446744073709551615"}}) {
        this->SetOffset(before);
        this->Execute();
        EXPECT_EQ(this->Offset(), after);
        EXPECT_THAT(this->Published(this->publisher->messages.size() - 1), IsEmpty());
    }
    EXPECT_EQ(this->publisher->messages.size(), 4u);
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetThatChangedMeanwhileIsAddedTo) {
    this->SetOffset("10");
    this->publisher->onPublish = [&](const auto&) { this->SetOffset("40"); };
    this->Execute();
    EXPECT_EQ(this->Offset(), "42");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, NextTriggerFetchesWhatFollows) {
    this->Execute();
    this->Execute();
    ASSERT_EQ(this->channel->requests.size(), 2u);
    EXPECT_EQ(this->channel->requests[1], HexBytes(std::string(TypeParam::kRequest) + " 08 02"));
    EXPECT_EQ(this->Offset(), "4");
}

// Replies that should not be.

TYPED_TEST(WinOvGetEcsLogsTasksTest, BytesBehindThePayloadAreIgnored) {
    using Kyr::Test::operator+;
    this->ProductAnswers(this->Reply("0A 01 61") + HexBytes("0A 01 62"));
    this->Execute();
    EXPECT_THAT(this->Published(), ElementsAre("a"));
    EXPECT_EQ(this->Offset(), "1");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, PayloadThatDoesNotParseReadsAsServedWithoutRecords) {
    this->SetOffset("+7");
    this->ProductAnswers(this->Reply("FF"));
    this->Execute();
    EXPECT_THAT(this->Published(), IsEmpty());
    EXPECT_EQ(this->Offset(), "7");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsBeforeTheDamageArePassedOn) {
    // "b", "a", then a byte that begins no field: there is no wire type 7.
    this->SetOffset("5");
    this->ProductAnswers(this->Reply("0A 01 62  0A 01 61  0F"));
    this->Execute();
    EXPECT_THAT(this->Published(), ElementsAre("b", "a"));
    EXPECT_EQ(this->Offset(), "7");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetCoversNoMoreThanWhatWasPublished) {
    // A record, then one of five bytes that has only one: what the parser left is passed on.
    this->ProductAnswers(this->Reply("0A 01 61  0A 05 62"));
    this->Execute();
    EXPECT_EQ(this->Offset(), std::to_string(this->Published().size()));
    EXPECT_THAT(this->Published()[0], "a");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsBehindATextThatIsNotUtf8AreFetchedAgain) {
    // "a", then the bytes C3 28, at which the parser stops, then "b".
    this->ProductAnswers(this->Reply("0A 01 61  0A 02 C3 28  0A 01 62"));
    this->Execute();
    EXPECT_THAT(this->Published(), ElementsAre("a", "\xC3\x28"));
    this->ProductAnswers(this->Reply("0A 01 62"));
    this->Execute();
    EXPECT_EQ(this->channel->requests[1], HexBytes(std::string(TypeParam::kRequest) + " 08 02"));
    EXPECT_THAT(this->Published(1), ElementsAre("b"));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, SixteenMebibytesInOneRecord) {
    constexpr std::size_t kSize = 16 << 20;
    // 0A, then the length 2^24 as a varint of four bytes: 80 80 80 08.
    auto reply = HexBytes("0C 00 00 00  00 00 00 00  05 00 00 01  0A 80 80 80 08");
    reply.resize(reply.size() + kSize, 'x');
    this->ProductAnswers(reply);
    this->Execute();
    ASSERT_EQ(this->Published().size(), 1u);
    EXPECT_TRUE(this->Published()[0] == std::string(kSize, 'x'));
    EXPECT_EQ(this->Offset(), "1");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, SixteenMebibytesInManyRecords) {
    constexpr std::size_t kRecords = 16384;
    auto reply = HexBytes("0C 00 00 00  00 00 00 00  00 00 00 01");
    for (std::size_t i = 0; i < kRecords; ++i) {
        reply.insert(reply.end(), {0x0A, 0xFD, 0x07});  // 1021 bytes follow
        reply.insert(reply.end(), 1021, 'x');
    }
    this->ProductAnswers(reply);
    this->Execute();
    ASSERT_EQ(this->Published().size(), kRecords);
    EXPECT_EQ(this->Published()[kRecords - 1], std::string(1021, 'x'));
    EXPECT_EQ(this->Offset(), "16384");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsBeyondTooManyAreFetchedByTheNextTrigger) {
    auto payload = HexBytes("0A 01 61");
    for (int count = 0; count < 1400000; ++count) {
        payload.insert(payload.end(), {0x0A, 0x00});
    }
    this->ProductAnswers(this->ReplyWith(payload));
    this->Execute();
    EXPECT_EQ(this->Published().size(), 1350000u);
    EXPECT_EQ(this->Published()[0], "a");
    EXPECT_EQ(this->Offset(), "1350000");
}

// Failures.

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetThatIsNoNumberAnyMoreIsLeftAsItIs) {
    this->publisher->onPublish = [&](const auto&) { this->SetOffset("5a"); };
    EXPECT_EQ(this->RetryText(), this->kNotANumber);
    EXPECT_EQ(this->Offset(), "5a");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RecordsThatCannotBePublishedAreFetchedAgain) {
    this->publisher->onPublish = [](const auto&) { throw std::runtime_error("bus is down"); };
    EXPECT_EQ(this->RetryText(), "bus is down");
    EXPECT_EQ(this->Offset(), "");
    this->publisher->onPublish = nullptr;
    this->Execute();
    EXPECT_EQ(this->channel->requests[0], this->channel->requests[1]);
    EXPECT_THAT(this->Published(), ElementsAre("b", "a"));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, StoreThatFailsSilentlyGetsTheRecordsTwice) {
    this->keyValueStore->OnSet([](const auto&, const auto&) { return false; });
    EXPECT_NO_THROW(this->Execute());
    EXPECT_NO_THROW(this->Execute());
    EXPECT_EQ(this->channel->requests[0], this->channel->requests[1]);
    EXPECT_EQ(this->Published(0), this->Published(1));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, StoreThatThrowsIsACountedRetry) {
    this->keyValueStore->OnSet(
        [](const auto&, const auto&) -> bool { throw std::runtime_error("disk is full"); });
    EXPECT_EQ(this->RetryText(), "disk is full");
    EXPECT_EQ(this->Offset(), "");
    EXPECT_EQ(this->publisher->messages.size(), 1u);
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, StoreThatCannotBeReadBehindTheRecordsIsACountedRetry) {
    this->publisher->onPublish = [&](const auto&) {
        this->keyValueStore->OnGet(
            [](const auto&) { throw std::runtime_error("store is locked"); });
    };
    EXPECT_EQ(this->RetryText(), "store is locked");
    EXPECT_EQ(this->publisher->messages.size(), 1u);
    EXPECT_EQ(this->Offset(), "");
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
