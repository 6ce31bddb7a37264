// Both ECS log tasks: they are one design, so that every test runs for both.
#include <stdexcept>

#include <boost/thread/exceptions.hpp>
#include <boost/weak_ptr.hpp>

#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "logs/DataMinerMessages.h"
#include "tests/connector/tasks/CollectionFixture.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

namespace DataMiners = Kyr::Common::Message::DataMiners;
using Kyr::Common::Kernel::MessageType;
using Kyr::Test::HexBytes;
using testing::ElementsAre;
using testing::IsEmpty;

struct IndicatorLogs {
    using Task = CWinOvGetEcsIndicatorLogsTask;
    using StoreMessage = DataMiners::CDataMinerStoreEcsIndicatorLogs;
    static constexpr int kKind = 3;
    static constexpr int kOtherKind = 4;
    static constexpr char kKey[] = "XDR_OFFSET";
    static constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 00 00 10 00";
    static constexpr char kPublish[] = "publish DataMinerStoreEcsIndicatorLogs";
    static constexpr char kEmpty[] =
        "1 Empty indicator logs response received from OVANTA Connector";
    static constexpr char kError[] =
        "3 Failed to get ECS indicator logs from OVANTA Connector with code: ";
    static constexpr char kPublishing[] = "1 Publishing ECS indicator logs";
};

struct TelemetryLogs {
    using Task = CWinOvGetEcsTelemetryLogsTask;
    using StoreMessage = DataMiners::CDataMinerStoreEcsTelemetryLogs;
    static constexpr int kKind = 4;
    static constexpr int kOtherKind = 3;
    static constexpr char kKey[] = "XDR_TELEMETRY_OFFSET";
    static constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 02 00 10 00";
    static constexpr char kPublish[] = "publish DataMinerStoreEcsTelemetryLogs";
    static constexpr char kEmpty[] =
        "1 Empty telemetry logs response received from OVANTA Connector";
    static constexpr char kError[] =
        "3 Failed to get ECS telemetry logs from OVANTA Connector with code: ";
    static constexpr char kPublishing[] = "1 Publishing ECS telemetry logs";
};

template <typename Kind>
class WinOvGetEcsLogsTasksTest : public CollectionFixture {
  protected:
    static constexpr char kTwoRecords[] = "0A 01 62  0A 01 61";  // "b", "a"

    WinOvGetEcsLogsTasksTest() { ProductAnswers(Reply(kTwoRecords)); }

    void Execute() { task.Execute(MakeTrigger(Kind::kKind)); }
    std::string RetryText() {
        return CountedRetry([this] { Execute(); });
    }
    void SetOffset(const std::string& text) { keyValueStore->Put(Kind::kKey, text); }
    std::string Offset() const { return keyValueStore->Text(Kind::kKey); }
    /// The records of the message that was published as number `index`.
    std::vector<std::string> Published(std::size_t index = 0) const {
        if (index >= publisher->messages.size()) {
            return {"nothing was published"};
        }
        return dynamic_cast<const typename Kind::StoreMessage&>(*publisher->messages[index])
            .GetLogs();
    }
    static std::string Stored(const std::string& text) {
        return Kind::kKey + std::string("=") + text;
    }

    typename Kind::Task task{logger, publisher, channel, nullptr, factory, keyValueStore};
};

using Kinds = testing::Types<IndicatorLogs, TelemetryLogs>;
struct KindNames {
    template <typename Kind>
    static std::string GetName(int /*number*/) {
        return Kind::kKey;
    }
};
TYPED_TEST_SUITE(WinOvGetEcsLogsTasksTest, Kinds, KindNames);

// Triggers.

TYPED_TEST(WinOvGetEcsLogsTasksTest, ServesTriggers) {
    EXPECT_EQ(this->task.GetMessageType(), MessageType::OvAgentRequest);
    EXPECT_EQ(static_cast<int>(this->task.GetMessageType()), 7);
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ActsOnTriggersOfItsKindOnly) {
    int reads = 0;
    this->keyValueStore->OnGet([&](const auto&) { ++reads; });
    for (const int kind : {0, 1, 2, TypeParam::kOtherKind, 5, 6, -1}) {
        EXPECT_NO_THROW(this->task.Execute(this->MakeTrigger(kind)));
    }
    EXPECT_EQ(reads, 0);
    EXPECT_THAT(this->channel->calls, IsEmpty());
    EXPECT_THAT(this->Lines(), IsEmpty());
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, MessageOfAnotherClassIsIgnored) {
    EXPECT_NO_THROW(this->task.Execute(Kyr::Test::MakeMessage("A", MessageType::OvAgentRequest)));
    EXPECT_NO_THROW(this->task.Execute({}));
    EXPECT_THAT(this->channel->calls, IsEmpty());
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, CancelDoesNotKeepItFromExecuting) {
    this->task.Cancel();
    this->Execute();
    EXPECT_EQ(this->channel->requests.size(), 1u);
}

// Requests.

TYPED_TEST(WinOvGetEcsLogsTasksTest, FirstRequestHasOffsetZero) {
    this->Execute();
    EXPECT_THAT(this->channel->requests, ElementsAre(HexBytes(TypeParam::kRequest)));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, EmptyOffsetIsZero) {
    this->SetOffset("");
    this->Execute();
    EXPECT_THAT(this->channel->requests, ElementsAre(HexBytes(TypeParam::kRequest)));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, RequestCarriesTheStoredOffset) {
    this->SetOffset("300");
    this->Execute();
    EXPECT_THAT(this->channel->requests,
                ElementsAre(HexBytes(std::string(TypeParam::kRequest) + " 08 AC 02")));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, MinusOneIsSentAsTheLargestOffset) {
    this->SetOffset("-1");
    this->Execute();
    EXPECT_THAT(this->channel->requests,
                ElementsAre(HexBytes(std::string(TypeParam::kRequest) +
                                     " 08 FF FF FF FF FF FF FF FF FF 01")));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ReceiverIsInstalledBeforeTheRequestIsSent) {
    this->Execute();
    EXPECT_THAT(this->channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, EveryRequestGetsAReceiverOfItsOwn) {
    this->Execute();
    const boost::weak_ptr<Common::IBufferReceiver> first = this->channel->receiver;
    this->Execute();
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(this->channel->receiver);
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ReceiverKeepsTheTriggerAlive) {
    boost::weak_ptr<Kyr::Common::Kernel::IMessage> observed;
    {
        const auto trigger = this->MakeTrigger(TypeParam::kKind);
        observed = trigger;
        this->task.Execute(trigger);
    }
    EXPECT_FALSE(observed.expired());
    this->channel->SetBufferReceiver({});
    EXPECT_TRUE(observed.expired());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ReceiverOutlivesTheTask) {
    {
        typename TypeParam::Task shortLived(this->logger, this->publisher, this->channel, nullptr,
                                            this->factory, this->keyValueStore);
        shortLived.Execute(this->MakeTrigger(TypeParam::kKind));
    }
    this->channel->receiver->OnBufferReceived(this->Reply("0A 01 63"));
    EXPECT_THAT(this->Published(1), ElementsAre("c"));
    EXPECT_EQ(this->Offset(), "3");
}

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

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetComesRoundToZero) {
    this->SetOffset("-1");
    this->ProductAnswers(this->Reply("0A 01 61"));
    this->Execute();
    EXPECT_EQ(this->Offset(), "0");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetThatChangedMeanwhileIsAddedTo) {
    this->SetOffset("10");
    this->publisher->onPublish = [&](const auto&) { this->SetOffset("40"); };
    this->Execute();
    EXPECT_EQ(this->Offset(), "42");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetIsReadAndWrittenWithoutGrouping) {
    const Kyr::Test::CGroupingLocale grouping;
    this->SetOffset("1234567");
    this->Execute();
    EXPECT_EQ(this->Offset(), "1234569");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, NextTriggerFetchesWhatFollows) {
    this->Execute();
    this->Execute();
    ASSERT_EQ(this->channel->requests.size(), 2u);
    EXPECT_EQ(this->channel->requests[1], HexBytes(std::string(TypeParam::kRequest) + " 08 02"));
    EXPECT_EQ(this->Offset(), "4");
}

// The product has nothing, or refuses.

TYPED_TEST(WinOvGetEcsLogsTasksTest, ReplyWithoutPayloadIsLogged) {
    this->SetOffset("007");
    this->ProductAnswers(this->Reply(""));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(TypeParam::kEmpty));
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_EQ(this->Offset(), "007");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ResultCodeIsLogged) {
    this->ProductAnswers(this->Reply("0A 01 61  10 07"));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(std::string(TypeParam::kError) + "7"));
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_EQ(this->Offset(), "");
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, ResultCodeIsUnsignedAndUngrouped) {
    const Kyr::Test::CGroupingLocale grouping;
    this->ProductAnswers(this->Reply("10 FF FF FF FF 0F"));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(std::string(TypeParam::kError) + "4294967295"));
}

// Replies that should not be.

TYPED_TEST(WinOvGetEcsLogsTasksTest, ShortReplyIsACountedRetry) {
    const auto cut = [&](std::size_t size) {
        auto reply = this->Reply(this->kTwoRecords);
        reply.resize(size);
        this->ProductAnswers(reply);
        return this->RetryText();
    };
    for (const std::size_t size : {0, 1, 11, 12, 17}) {
        EXPECT_EQ(cut(size), "KelcommChannelBuffer: Buffer is not full enough") << size;
    }
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, LyingPayloadLengthIsACountedRetry) {
    this->ProductAnswers(HexBytes("0C 00 00 00  00 00 00 00  FF FF FF FF  0A 01 61"));
    EXPECT_EQ(this->RetryText(), "KelcommChannelBuffer: Buffer is not full enough");
    EXPECT_THAT(this->effects, IsEmpty());
}

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

// Failures.

TYPED_TEST(WinOvGetEcsLogsTasksTest, FailureOfTheChannelIsACountedRetryWithItsText) {
    this->ProductFails("CKelcommChannel: Send request failed with 9");
    EXPECT_EQ(this->RetryText(), "CKelcommChannel: Send request failed with 9");
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_THAT(this->Lines(), IsEmpty());
}

TYPED_TEST(WinOvGetEcsLogsTasksTest, OffsetThatIsNoNumberFailsEveryTrigger) {
    for (const char* text : {" 5", "5a", "18446744073709551616"}) {
        this->SetOffset(text);
        EXPECT_EQ(this->RetryText(), this->kNotANumber);
        EXPECT_EQ(this->RetryText(), this->kNotANumber);
        EXPECT_EQ(this->Offset(), text);
    }
    EXPECT_THAT(this->channel->calls, IsEmpty());
    this->SetOffset("5");
    EXPECT_NO_THROW(this->Execute());
}

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

TYPED_TEST(WinOvGetEcsLogsTasksTest, StoreThatCannotBeReadIsACountedRetry) {
    this->keyValueStore->OnGet([](const auto&) { throw std::runtime_error("store is locked"); });
    EXPECT_EQ(this->RetryText(), "store is locked");
    EXPECT_THAT(this->channel->calls, IsEmpty());
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

TYPED_TEST(WinOvGetEcsLogsTasksTest, InterruptionIsNoFailure) {
    this->channel->product = [](const auto&) -> std::vector<unsigned char> {
        throw boost::thread_interrupted();
    };
    EXPECT_THROW(this->Execute(), boost::thread_interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
