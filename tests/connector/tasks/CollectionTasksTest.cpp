// What all three collection tasks do alike: they are one design, so that every test runs for each.
#include <algorithm>
#include <stdexcept>

#include <boost/thread/exceptions.hpp>
#include <boost/weak_ptr.hpp>

#include "tests/connector/tasks/CollectionKinds.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Test::HexBytes;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Repeated(const std::string& hex, int times) {
    std::string all;
    for (int count = 0; count < times; ++count) {
        all += hex + " ";
    }
    return all;
}

template <typename Kind>
class CollectionTasksTest : public CollectionKindFixture<Kind> {
  protected:
    /// How many lines say that a payload ends early.
    std::ptrdiff_t EarlyEnds() const {
        const auto lines = this->Lines();
        return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("payload ends early") != std::string::npos;
        });
    }
    /// A payload of so many records without bytes.
    static std::vector<unsigned char> Empty(std::size_t records) {
        std::vector<unsigned char> payload(2 * records);
        for (std::size_t place = 0; place < payload.size(); place += 2) {
            payload[place] = 0x0A;
        }
        return payload;
    }
    std::string FirstLine() const {
        const auto lines = this->Lines();
        return lines.empty() ? "there is no line" : lines.front();
    }
    /// The line that says so.
    static std::string EarlyEnd(const std::string& records) {
        return std::string("3 ") + Kind::kName + ": payload ends early, " + records +
               " records read";
    }
};

using Kinds = testing::Types<IndicatorLogs, TelemetryLogs, RemediationActions>;
TYPED_TEST_SUITE(CollectionTasksTest, Kinds, CollectionNames);

TYPED_TEST(CollectionTasksTest, ServesTriggers) {
    EXPECT_EQ(this->task->GetMessageType(), MessageType::OvAgentRequest);
    EXPECT_EQ(static_cast<int>(this->task->GetMessageType()), 7);
}

TYPED_TEST(CollectionTasksTest, ActsOnTriggersOfItsKindOnly) {
    int reads = 0;
    this->keyValueStore->OnGet([&](const auto&) { ++reads; });
    for (const int kind : {0, 1, 2, 3, 4, 5, 6, -1}) {
        if (kind != TypeParam::kKind) {
            EXPECT_NO_THROW(this->task->Execute(this->TriggerOf(kind)));
        }
    }
    EXPECT_EQ(reads, 0);
    EXPECT_THAT(this->channel->calls, IsEmpty());
    EXPECT_THAT(this->Lines(), IsEmpty());
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(CollectionTasksTest, MessageOfAnotherClassIsIgnored) {
    EXPECT_NO_THROW(this->task->Execute(Kyr::Test::MakeMessage("A", MessageType::OvAgentRequest)));
    EXPECT_NO_THROW(this->task->Execute({}));
    EXPECT_THAT(this->channel->calls, IsEmpty());
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(CollectionTasksTest, CancelDoesNotKeepItFromExecuting) {
    this->task->Cancel();
    this->Execute();
    EXPECT_EQ(this->channel->requests.size(), 1u);
}

TYPED_TEST(CollectionTasksTest, FirstRequestHasOffsetZero) {
    this->Execute();
    EXPECT_THAT(this->channel->requests, ElementsAre(HexBytes(TypeParam::kRequest)));
}

TYPED_TEST(CollectionTasksTest, EmptyOffsetIsZero) {
    this->SetOffset("");
    this->Execute();
    EXPECT_THAT(this->channel->requests, ElementsAre(HexBytes(TypeParam::kRequest)));
}

TYPED_TEST(CollectionTasksTest, RequestCarriesTheStoredOffset) {
    this->SetOffset("300");
    this->Execute();
    EXPECT_THAT(this->channel->requests,
                ElementsAre(HexBytes(std::string(TypeParam::kRequest) + " 08 AC 02")));
}

TYPED_TEST(CollectionTasksTest, MinusOneIsSentAsTheLargestOffset) {
    this->SetOffset("-1");
    this->Execute();
    EXPECT_THAT(this->channel->requests,
                ElementsAre(HexBytes(std::string(TypeParam::kRequest) +
                                     " 08 FF FF FF FF FF FF FF FF FF 01")));
}

TYPED_TEST(CollectionTasksTest, ReceiverIsInstalledBeforeTheRequestIsSent) {
    this->Execute();
    EXPECT_THAT(this->channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TYPED_TEST(CollectionTasksTest, EveryRequestGetsAReceiverOfItsOwn) {
    this->Execute();
    const boost::weak_ptr<Common::IBufferReceiver> first = this->channel->receiver;
    this->Execute();
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(this->channel->receiver);
}

TYPED_TEST(CollectionTasksTest, ReceiverKeepsTheTriggerAlive) {
    boost::weak_ptr<Kyr::Common::Kernel::IMessage> observed;
    {
        const auto trigger = this->TriggerOf(TypeParam::kKind);
        observed = trigger;
        this->task->Execute(trigger);
    }
    EXPECT_FALSE(observed.expired());
    this->channel->SetBufferReceiver({});
    EXPECT_TRUE(observed.expired());
}

TYPED_TEST(CollectionTasksTest, ReceiverOutlivesTheTask) {
    this->MakeTask()->Execute(this->TriggerOf(TypeParam::kKind));  // and the task is gone
    this->channel->receiver->OnBufferReceived(this->Reply(TypeParam::kOneRecord));
    EXPECT_EQ(this->Offset(), "2");
}

TYPED_TEST(CollectionTasksTest, OffsetComesRoundToZero) {
    this->SetOffset("-1");
    this->Execute();
    EXPECT_EQ(this->Offset(), "0");
}

TYPED_TEST(CollectionTasksTest, OffsetIsReadAndWrittenWithoutGrouping) {
    const Kyr::Test::CGroupingLocale grouping;
    this->SetOffset("1234567");
    this->Execute();
    EXPECT_EQ(this->Offset(), "1234568");
}

TYPED_TEST(CollectionTasksTest, ReplyWithoutPayloadIsLogged) {
    this->SetOffset("007");
    this->ProductAnswers(this->Reply(""));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(TypeParam::kEmpty));
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_EQ(this->Offset(), "007");
}

TYPED_TEST(CollectionTasksTest, ResultCodeIsLogged) {
    this->ProductAnswers(this->Reply(TypeParam::kOneRecord + std::string("10 07")));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(std::string(TypeParam::kError) + "7"));
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_EQ(this->Offset(), "");
}

TYPED_TEST(CollectionTasksTest, ResultCodeIsUnsignedAndUngrouped) {
    const Kyr::Test::CGroupingLocale grouping;
    this->ProductAnswers(this->Reply("10 FF FF FF FF 0F"));
    this->Execute();
    EXPECT_THAT(this->Lines(), ElementsAre(std::string(TypeParam::kError) + "4294967295"));
}

TYPED_TEST(CollectionTasksTest, PayloadThatEndsEarlySaysSoInOneLineBeforeTheOthers) {
    // One whole record, then one of five bytes that has two.
    this->ProductAnswers(this->Reply(TypeParam::kOneRecord + std::string("0A 05 08 03")));
    this->Execute();
    EXPECT_EQ(this->FirstLine(), this->EarlyEnd("2"));
    EXPECT_EQ(this->EarlyEnds(), 1);
    EXPECT_EQ(this->Offset(), "2");
}

TYPED_TEST(CollectionTasksTest, EveryCutOfABatchSaysSoButBetweenTheRecords) {
    // 40 bytes: records of 10, 20 and 6 bytes, and a result code of 0 in four bytes.
    const std::string batch = "0A 08" + Repeated("08 03", 4) + "0A 12" + Repeated("08 03", 9) +
                              "0A 04" + Repeated("08 03", 2) + "10 80 80 00";
    for (std::size_t size = 1; size <= 40; ++size) {
        const auto before = this->EarlyEnds();
        auto payload = HexBytes(batch);
        ASSERT_EQ(payload.size(), 40u);
        payload.resize(size);
        this->ProductAnswers(this->ReplyWith(payload));
        this->Execute();
        const bool whole = size == 10 || size == 30 || size == 36 || size == 40;
        EXPECT_EQ(this->EarlyEnds() - before, whole ? 0 : 1) << size;
    }
}

TYPED_TEST(CollectionTasksTest, RefusedReplyThatEndsEarlySaysBoth) {
    this->ProductAnswers(this->Reply("10 07  0A 05 08"));
    this->Execute();
    EXPECT_THAT(this->Lines(),
                ElementsAre(this->EarlyEnd("1"), std::string(TypeParam::kError) + "7"));
}

TYPED_TEST(CollectionTasksTest, PayloadThatIsNoProtobufDoesNotEndEarly) {
    for (const char* payload : {"07", "FF", "0F 0A 05 61", "0A 00 00"}) {
        this->ProductAnswers(this->Reply(payload));
        this->Execute();
    }
    EXPECT_EQ(this->EarlyEnds(), 0);
}

TYPED_TEST(CollectionTasksTest, RecordsThatAreTooManyAreSaidInOneLine) {
    // 2.8 million bytes: a million records and one for each eight of them are read.
    this->ProductAnswers(this->ReplyWith(this->Empty(1400000)));
    this->Execute();
    EXPECT_EQ(this->FirstLine(),
              "3 " + std::string(TypeParam::kName) + ": too many records, 1350000 records read");
    EXPECT_EQ(this->Lines().size(), 2u);
}

TYPED_TEST(CollectionTasksTest, RecordsThatAreNotTooManySayNothing) {
    this->ProductAnswers(this->ReplyWith(this->Empty(1333333)));
    this->Execute();
    EXPECT_EQ(this->Lines().size(), 1u);
}

TYPED_TEST(CollectionTasksTest, NumberOfRecordsReadIsUngrouped) {
    const Kyr::Test::CGroupingLocale grouping;
    this->ProductAnswers(this->Reply(Repeated(TypeParam::kOneRecord, 1234) + "0A"));
    this->Execute();
    EXPECT_EQ(this->FirstLine(), this->EarlyEnd("1235"));  // with the one that is just begun
}

TYPED_TEST(CollectionTasksTest, ShortReplyIsACountedRetry) {
    for (const std::size_t size : {0, 1, 11, 12, 14}) {
        auto reply = this->Reply(TypeParam::kOneRecord);
        reply.resize(size);
        this->ProductAnswers(reply);
        EXPECT_EQ(this->RetryText(), "KelcommChannelBuffer: Buffer is not full enough") << size;
    }
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(CollectionTasksTest, LyingPayloadLengthIsACountedRetry) {
    this->ProductAnswers(HexBytes("0C 00 00 00  00 00 00 00  FF FF FF FF  0A 01 61"));
    EXPECT_EQ(this->RetryText(), "KelcommChannelBuffer: Buffer is not full enough");
    EXPECT_THAT(this->effects, IsEmpty());
}

TYPED_TEST(CollectionTasksTest, FailureOfTheChannelIsACountedRetryWithItsText) {
    this->ProductFails("CKelcommChannel: Send request failed with 9");
    EXPECT_EQ(this->RetryText(), "CKelcommChannel: Send request failed with 9");
    EXPECT_THAT(this->effects, IsEmpty());
    EXPECT_THAT(this->Lines(), IsEmpty());
}

TYPED_TEST(CollectionTasksTest, OffsetThatIsNoNumberFailsEveryTrigger) {
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

TYPED_TEST(CollectionTasksTest, StoreThatCannotBeReadIsACountedRetry) {
    this->keyValueStore->OnGet([](const auto&) { throw std::runtime_error("store is locked"); });
    EXPECT_EQ(this->RetryText(), "store is locked");
    EXPECT_THAT(this->channel->calls, IsEmpty());
}

TYPED_TEST(CollectionTasksTest, InterruptionIsNoFailure) {
    this->channel->product = [](const auto&) -> std::vector<unsigned char> {
        throw boost::thread_interrupted();
    };
    EXPECT_THROW(this->Execute(), boost::thread_interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
