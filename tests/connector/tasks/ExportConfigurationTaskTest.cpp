#include <boost/weak_ptr.hpp>

#include "connector/tasks/ExportConfigurationTask.h"
#include "host/message/RequestConfigurationMessage.h"
#include "tests/connector/tasks/CommonTaskFixture.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::CTask;
using Kyr::Common::Message::Configuration::CRequestConfigurationMessage;
using Kyr::Common::Message::Logs::CEventLog;
using namespace Kyr::Test;
using testing::ElementsAre;

class ExportConfigurationTaskTest : public CommonTaskFixture {
  protected:
    ExportConfigurationTaskTest() { ProductAnswers(ReplyWith(TextBytes("hello"))); }

    static CTask::Uuid UuidOf(const std::string& text) {
        CTask::Uuid uuid;
        uuid.set_uuid(text);
        return uuid;
    }
    static boost::shared_ptr<CRequestConfigurationMessage> RequestFor(int productType) {
        CRequestConfigurationMessage::Payload payload;
        payload.set_producttype(productType);
        const auto message = boost::make_shared<CRequestConfigurationMessage>();
        message->SetPayload(payload);
        message->SetIdentifiers(UuidOf("11111111-1111-1111-1111-111111111111"),
                                UuidOf("22222222-2222-2222-2222-222222222222"),
                                UuidOf("33333333-3333-3333-3333-333333333333"));
        return message;
    }
    void Run(const MessagePointer& message, std::vector<std::int32_t> productTypes = {0, 9}) {
        CExportConfigurationTask(publisher, instance, std::move(productTypes), factory, channel,
                                 kProduct, clock)
            .Execute(message);
    }
    std::vector<int> PublishedTypes() const {
        std::vector<int> types;
        for (const auto& message : publisher->messages) {
            types.push_back(static_cast<int>(message->GetMessageType()));
        }
        return types;
    }
};

TEST_F(ExportConfigurationTaskTest, AlwaysServesTypeFive) {
    const CExportConfigurationTask task(publisher, instance, {}, factory, channel, kProduct, clock);
    EXPECT_EQ(static_cast<int>(task.GetMessageType()), 5);
}

TEST_F(ExportConfigurationTaskTest, RequestSendsExactlyTheExportCommand) {
    Run(RequestFor(9));
    EXPECT_THAT(channel->requests, ElementsAre(HexBytes("0C 00 00 00 00 06 00 01 6E 00 00 00")));
    EXPECT_THAT(channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TEST_F(ExportConfigurationTaskTest, EveryProductTypeOfTheListIsServed) {
    Run(RequestFor(0));
    Run(RequestFor(9));
    EXPECT_EQ(channel->requests.size(), 2u);
}

TEST_F(ExportConfigurationTaskTest, ProductTypeThatIsListedTwiceIsServedOnce) {
    Run(RequestFor(9), {9, 9});
    EXPECT_EQ(channel->requests.size(), 1u);
}

TEST_F(ExportConfigurationTaskTest, OtherProductTypesLeaveTheProductUntouched) {
    Run(RequestFor(17));
    Run(RequestFor(-1));
    Run(RequestFor(0), {});
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(ExportConfigurationTaskTest, RequestWithoutProductTypeLeavesTheProductUntouched) {
    // Not asking for presence would read 0, which is in the list.
    Run(boost::make_shared<CRequestConfigurationMessage>());
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(ExportConfigurationTaskTest, MessageOfAnotherClassLeavesTheProductUntouched) {
    Run(Kyr::Test::MakeMessage("other", MessageType::RequestConfiguration));
    Run({});
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(ExportConfigurationTaskTest, ConfigurationIsPublishedBeforeTheReport) {
    Run(RequestFor(9));
    EXPECT_THAT(PublishedTypes(), ElementsAre(10244, 10368));
}

TEST_F(ExportConfigurationTaskTest, ConfigurationIsAReadOnlyEvent) {
    Run(RequestFor(9));
    const auto event = Published<CEventLog>(0);
    EXPECT_TRUE(event->IsReadOnly());
    EXPECT_TRUE(event->IsValid());
    const auto symbols = event->GetSymbols();
    EXPECT_THAT(Ids(*symbols), ElementsAre(1888, 1886, 1889, 1891, 1892));
    EXPECT_EQ(symbols->GetInt32(1888), 1);
    EXPECT_EQ(symbols->GetUuid(1886).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(symbols->GetUtcTime(1889).year(), 2023);
    EXPECT_EQ(symbols->GetResourceId(1891), 0x07100000000005E2u);
    EXPECT_EQ(symbols->GetBlob(1892), "hello");
}

TEST_F(ExportConfigurationTaskTest, ConfigurationMayHoldAnyByte) {
    ProductAnswers(ReplyWith({0x00, 0xFF, 0x3C, 0x00}));
    Run(RequestFor(9));
    EXPECT_EQ(Published<CEventLog>(0)->GetSymbols()->GetBlob(1892), std::string("\0\xFF<\0", 4));
}

TEST_F(ExportConfigurationTaskTest, EmptyConfigurationIsPublished) {
    ProductAnswers(ReplyWith({}));
    Run(RequestFor(9));
    EXPECT_EQ(Published<CEventLog>(0)->GetSymbols()->GetBlob(1892), "");
}

TEST_F(ExportConfigurationTaskTest, RequestIsReportedAsDone) {
    Run(RequestFor(9));
    const auto event = Published<CEventLog>(1);
    EXPECT_TRUE(event->IsReadOnly());
    EXPECT_TRUE(event->IsValid());
    const auto symbols = event->GetSymbols();
    EXPECT_THAT(Ids(*symbols), ElementsAre(2836, 2834, 2838, 2842, 2846, 2844, 2848, 2853, 2850));
    EXPECT_EQ(symbols->GetInt32(2836), 1);
    EXPECT_EQ(symbols->GetUuid(2842).uuid(), "11111111-1111-1111-1111-111111111111");
    EXPECT_EQ(symbols->GetUuid(2844).uuid(), "22222222-2222-2222-2222-222222222222");
    EXPECT_EQ(symbols->GetUuid(2846).uuid(), "33333333-3333-3333-3333-333333333333");
    EXPECT_EQ(symbols->GetResourceId(2848), 0x000000010000000Bu);
    EXPECT_EQ(symbols->GetResourceId(2853), 0x07100000000005E2u);
    EXPECT_EQ(symbols->GetInt64(2850), 30);
}

TEST_F(ExportConfigurationTaskTest, RequestWithoutIdentifiersIsNotReported) {
    const auto request = RequestFor(9);
    request->SetIdentifiers(UuidOf("11111111-1111-1111-1111-111111111111"), {}, {});
    Run(request);
    EXPECT_THAT(PublishedTypes(), ElementsAre(10244));
}

TEST_F(ExportConfigurationTaskTest, IdentifierThatIsNoUuidIsARetryAfterTheConfiguration) {
    const auto request = RequestFor(9);
    request->SetIdentifiers(UuidOf("nobody"), UuidOf("22222222-2222-2222-2222-222222222222"),
                            UuidOf("33333333-3333-3333-3333-333333333333"));
    EXPECT_EQ(RetryAfter([&] { Run(request); }), "invalid uuid string");
    EXPECT_THAT(PublishedTypes(), ElementsAre(10244));
}

TEST_F(ExportConfigurationTaskTest, BusThatFailsAtTheReportIsARetryAfterTheConfiguration) {
    publisher->onPublish = [](const MessagePointer& message) {
        if (static_cast<int>(message->GetMessageType()) == 10368) {
            throw std::runtime_error("bus is down");
        }
    };
    EXPECT_EQ(RetryAfter([&] { Run(RequestFor(9)); }), "bus is down");
    EXPECT_THAT(PublishedTypes(), ElementsAre(10244));
}

TEST_F(ExportConfigurationTaskTest, RetriedRequestIsSentAgain) {
    ProductFails("broken");
    const auto request = RequestFor(9);
    EXPECT_EQ(RetryAfter([&] { Run(request); }), "broken");
    ProductAnswers(ReplyWith(TextBytes("hello")));
    Run(request);
    EXPECT_EQ(channel->requests.size(), 2u);
    EXPECT_THAT(PublishedTypes(), ElementsAre(10244, 10368));
}

TEST_F(ExportConfigurationTaskTest, EachRequestHasAReceiverOfItsOwn) {
    Run(RequestFor(9));
    const boost::weak_ptr<IBufferReceiver> first = channel->receiver;
    EXPECT_FALSE(first.expired());
    Run(RequestFor(9));
    EXPECT_TRUE(first.expired());
}

TEST_F(ExportConfigurationTaskTest, ReceiverOutlivesTheTask) {
    Run(RequestFor(9));  // the task is gone when this returns
    channel->receiver->OnBufferReceived(ReplyWith(TextBytes("again")));
    EXPECT_EQ(Published<CEventLog>(2)->GetSymbols()->GetBlob(1892), "again");
}

TEST_F(ExportConfigurationTaskTest, ShortReplyIsACountedRetry) {
    ProductAnswers(HexBytes("0C 00 00 00  00 00 00 00  05 00 00 00  61 62 63 64"));
    EXPECT_EQ(RetryAfter([&] { Run(RequestFor(9)); }),
              "KelcommChannelBuffer: Buffer is not full enough");
    EXPECT_TRUE(publisher->messages.empty());
}

TEST_F(ExportConfigurationTaskTest, FailedExchangeIsACountedRetry) {
    ProductFails("CKelcommChannel: Send request failed with 7");
    EXPECT_EQ(RetryAfter([&] { Run(RequestFor(9)); }),
              "CKelcommChannel: Send request failed with 7");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
