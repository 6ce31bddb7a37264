#include <gmock/gmock.h>

#include "lab/devhost/printing/MessagePrinter.h"
#include "lab/devhost/printing/OnDemand.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "logs/StatusLog.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"

namespace Kyr::Test {
namespace {

using Common::Message::Logs::CStatusLog;
using Lab::DevHost::CBus;
using Lab::DevHost::CMessagePrinter;
using ::testing::ElementsAre;

Common::Logs::ISymbolContainer::UTCTime TimeOf(int year, int month, int day) {
    Common::Logs::ISymbolContainer::UTCTime time;
    time.set_year(year);
    time.set_month(month);
    time.set_day(day);
    time.set_hour(1);
    time.set_minute(2);
    time.set_second(3);
    return time;
}

class MessagePrinterTest : public ::testing::Test {
  protected:
    Lab::CLineList events_;
    CMessagePrinter printer_{Lab::DevHost::OnDemand(events_.Sink(), {})};
    CBus bus_{printer_};
};

TEST_F(MessagePrinterTest, MessageOfTheModuleIsPrintedWithItsContext) {
    bus_.Publish(MakeMessage(), {});
    EXPECT_THAT(events_.Texts(), ElementsAre("publish type=688 name=Response context=1 by=module"));
}

TEST_F(MessagePrinterTest, MessageOfTheHostIsPrintedAsTheHosts) {
    bus_.PublishAsHost(MakeMessage(MessageType::Reply));
    EXPECT_THAT(events_.Texts(), ElementsAre("publish type=1 name=Response context=1 by=host"));
}

TEST_F(MessagePrinterTest, DeliveryIsPrintedWithTheSubscribersNumber) {
    bus_.Subscribe(boost::make_shared<CKeepingSubscriber>(), MessageType::Reply);
    bus_.Subscribe(boost::make_shared<CKeepingSubscriber>(), MessageType::Response);
    bus_.Publish(MakeMessage(), {});
    bus_.WaitUntilDelivered();
    EXPECT_THAT(events_.Texts(), ElementsAre("publish type=688 name=Response context=1 by=module",
                                             "deliver type=688 name=Response context=1 to=2"));
}

TEST_F(MessagePrinterTest, FailedDeliveryIsPrintedWithItsReason) {
    bus_.Subscribe(boost::make_shared<CRefusingSubscriber>(), MessageType::Response);
    bus_.Publish(MakeMessage(), {});
    bus_.WaitUntilDelivered();
    EXPECT_EQ(events_.Texts().back(),
              "error type=688 name=Response context=1 to=1 text=\"no room\"");
}

TEST_F(MessagePrinterTest, RequestOfTheConnectorIsPrintedWithItsKind) {
    const auto request =
        boost::make_shared<Common::Message::Connectors::OvAgentConnector::COvAgentRequest>();
    request->SetRequestType(5);
    bus_.Publish(request, {});
    EXPECT_THAT(events_.Texts(),
                ElementsAre("publish type=7 name=OvAgentRequest context=1 by=module request=5"));
}

TEST_F(MessagePrinterTest, BatchOfRecordsIsPrintedWithItsSize) {
    const auto batch =
        boost::make_shared<Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs>();
    batch->SetLogs({"one", "two"});
    bus_.Publish(batch, {});
    EXPECT_THAT(events_.Texts().front(), ::testing::EndsWith(" by=module records=2"));
}

/// With all that is told on demand only.
class MessagePrinterOnDemandTest : public ::testing::Test {
  protected:
    /// The events of that kind.
    std::vector<std::string> Told(const std::string& kind) {
        std::vector<std::string> told;
        for (const std::string& line : events_.Take()) {
            if (line.compare(0, kind.size() + 1, kind + " ") == 0) {
                told.push_back(line);
            }
        }
        return told;
    }

    Lab::CLineList events_;
    CMessagePrinter printer_{events_.Sink()};
    CBus bus_{printer_};
};

TEST_F(MessagePrinterOnDemandTest, SubscriptionIsPrintedWithTypeAndSubscriber) {
    const auto subscriber = boost::make_shared<CKeepingSubscriber>();
    bus_.Subscribe(subscriber, MessageType::Response);
    bus_.Subscribe(boost::make_shared<CKeepingSubscriber>(), MessageType::Response);
    bus_.Subscribe(subscriber, MessageType::Reply);
    EXPECT_THAT(Told("subscribe"), ElementsAre("subscribe type=688 to=1", "subscribe type=688 to=2",
                                               "subscribe type=1 to=1"));
}

TEST_F(MessagePrinterOnDemandTest, MessageIsPrintedWithItsStateAndWhetherItHadAContext) {
    const auto request =
        boost::make_shared<Common::Message::Connectors::OvAgentConnector::COvAgentRequest>();
    bus_.Publish(request, {});
    request->SetReadOnly();
    bus_.Publish(request, boost::make_shared<Lab::DevHost::CDeliveryContext>(9));
    EXPECT_THAT(
        Told("message"),
        ElementsAre(
            "message type=7 name=OvAgentRequest context=1 by=module read-only=no with-context=no",
            "message type=7 name=OvAgentRequest context=9 by=module read-only=yes "
            "with-context=yes"));
}

TEST_F(MessagePrinterOnDemandTest, MessageThatKnowsNoWriteProtectionIsPrintedWithoutIt) {
    bus_.Publish(MakeMessage(), {});
    EXPECT_THAT(Told("message"),
                ElementsAre("message type=688 name=Response context=1 by=module with-context=no"));
}

TEST_F(MessagePrinterOnDemandTest, RecordsOfABatchArePrintedOneByOne) {
    const auto batch =
        boost::make_shared<Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs>();
    batch->SetLogs({"one", "{\"two\":2}"});
    bus_.Publish(batch, {});
    const std::string message = "record type=77 name=DataMinerStoreEcsTelemetryLogs context=1 ";
    EXPECT_THAT(Told("record"), ElementsAre(message + "row=0 text=one",
                                            message + "row=1 text=\"{\\\"two\\\":2}\""));
}

TEST_F(MessagePrinterOnDemandTest, RecordsOfABatchThatNobodyAskedForAreNotMade) {
    Lab::CLineList events;
    CMessagePrinter printer(events.Sink(), false);
    CBus bus(printer);
    const auto batch =
        boost::make_shared<Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs>();
    batch->SetLogs({"one", "two"});
    bus.Publish(batch, {});
    EXPECT_THAT(
        events.Texts(),
        ElementsAre(
            "publish type=77 name=DataMinerStoreEcsTelemetryLogs context=1 by=module records=2",
            "message type=77 name=DataMinerStoreEcsTelemetryLogs context=1 by=module read-only=no "
            "with-context=no"));
}

TEST_F(MessagePrinterOnDemandTest, BlobOfALogIsPrintedWhole) {
    const auto log =
        boost::make_shared<Common::Message::Logs::CEventLog>(MessageType::ConfigurationEvent);
    log->GetSymbols()->AddInt32(1888, 1).AddBlob(1892, "a=1\n");
    bus_.Publish(log, {});
    EXPECT_THAT(Told("record"),
                ElementsAre("record type=10244 name=EventLog_PRODUCT_CONFIGURATION context=1 row=0 "
                            "symbol=1892-configuration text=\"a=1\\n\""));
}

TEST_F(MessagePrinterTest, LogIsPrintedWithItsSymbols) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus);
    log->GetSymbols()
        ->CreateRow()
        ->AddUuidString(2141, "6ba7b810-9dad-11d1-80b4-00c04fd430c8")
        .AddInt32(2143, 1)
        .AddUtcTime(2144, TimeOf(2024, 2, 29))
        .AddInt64(2146, 8)
        .AddInt64(2147, 64);
    bus_.Publish(log, {});
    EXPECT_THAT(events_.Texts(),
                ElementsAre("publish type=10292 name=StatusLog_AGENT_PRESENCE context=1 by=module",
                            "symbols type=10292 name=StatusLog_AGENT_PRESENCE context=1 row=0 "
                            "2141-agent=6ba7b810-9dad-11d1-80b4-00c04fd430c8 2143-presence=1 "
                            "2144-time=2024-02-29T01:02:03Z 2146=8 2147=64"));
}

TEST_F(MessagePrinterTest, LogThatLacksAMandatorySymbolIsAnError) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus);
    log->GetSymbols()->CreateRow()->AddInt32(2143, 1);
    bus_.Publish(log, {});
    EXPECT_THAT(events_.Texts().back(),
                ::testing::StartsWith("error type=10292 name=StatusLog_AGENT_PRESENCE context=1 "));
}

}  // namespace
}  // namespace Kyr::Test
