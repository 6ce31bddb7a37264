#include <gmock/gmock.h>

#include "lab/devhost/printing/OnDemand.h"
#include "lab/devhost/resources/Bus.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "logs/StatusLog.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"

namespace Kyr::Test {
namespace {

using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;
using Common::Message::Logs::CEventLog;
using Common::Message::Logs::CStatusLog;
using Lab::DevHost::CBus;
using ::testing::ElementsAre;
using ::testing::StartsWith;

boost::shared_ptr<IMessage> TwoRecords() {
    const auto batch = boost::make_shared<CDataMinerStoreEcsTelemetryLogs>();
    batch->SetLogs({"one", "{\"two\":2}"});
    return batch;
}

class PublicationTest : public ::testing::Test {
  protected:
    /// What is told of a message of the module, without what is told on demand only.
    std::vector<std::string> Told(const boost::shared_ptr<IMessage>& message) {
        bus_.Publish(message, {});
        return events_.Take();
    }

    Lab::CLineList events_;
    CBus bus_{Lab::DevHost::OnDemand(events_.Sink(), {})};
};

TEST_F(PublicationTest, MessageIsPrintedWithItsContextAndPublisher) {
    EXPECT_THAT(Told(MakeMessage()),
                ElementsAre("publish type=688 name=Response context=1 by=module"));
    bus_.PublishAsHost(MakeMessage(MessageType::Reply));
    EXPECT_THAT(events_.Take(), ElementsAre("publish type=1 name=Response context=2 by=host"));
}

TEST_F(PublicationTest, KindOfARequestAndSizeOfABatchArePrinted) {
    const auto request = boost::make_shared<COvAgentRequest>();
    request->SetRequestType(5);
    EXPECT_THAT(Told(request),
                ElementsAre("publish type=7 name=OvAgentRequest context=1 by=module request=5"));
    EXPECT_THAT(Told(TwoRecords()),
                ElementsAre("publish type=77 name=DataMinerStoreEcsTelemetryLogs "
                            "context=2 by=module records=2"));
}

TEST_F(PublicationTest, LogIsPrintedWithItsSymbolsAndWhatItLacksIsAnError) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus);
    log->GetSymbols()->CreateRow()->AddInt32(2143, 1);
    const std::string message = " type=10292 name=StatusLog_AGENT_PRESENCE context=1 ";
    EXPECT_THAT(Told(log), ElementsAre("publish" + message + "by=module",
                                       "symbols" + message + "row=0 2143-presence=1",
                                       StartsWith("error" + message)));
}

/// With all that is told on demand only.
class PublicationOnDemandTest : public ::testing::Test {
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
    CBus bus_{events_.Sink()};
};

TEST_F(PublicationOnDemandTest, SubscriptionIsPrintedWithTypeAndSubscriber) {
    const auto subscriber = boost::make_shared<CKeepingSubscriber>();
    bus_.Subscribe(subscriber, MessageType::Response);
    bus_.Subscribe(boost::make_shared<CKeepingSubscriber>(), MessageType::Response);
    bus_.Subscribe(subscriber, MessageType::Reply);
    EXPECT_THAT(Told("subscribe"), ElementsAre("subscribe type=688 to=1", "subscribe type=688 to=2",
                                               "subscribe type=1 to=1"));
}

TEST_F(PublicationOnDemandTest, MessageIsPrintedWithItsStateAndWhetherItHadAContext) {
    const auto request = boost::make_shared<COvAgentRequest>();
    bus_.Publish(request, {});
    request->SetReadOnly();
    bus_.Publish(request, boost::make_shared<Lab::DevHost::CDeliveryContext>(9));
    bus_.Publish(MakeMessage(), {});  // knows no write protection
    const std::string message = "message type=7 name=OvAgentRequest context=";
    EXPECT_THAT(Told("message"),
                ElementsAre(message + "1 by=module read-only=no with-context=no",
                            message + "9 by=module read-only=yes with-context=yes",
                            "message type=688 name=Response context=2 by=module with-context=no"));
}

TEST_F(PublicationOnDemandTest, RecordsOfABatchArePrintedOneByOne) {
    bus_.Publish(TwoRecords(), {});
    const std::string message = "record type=77 name=DataMinerStoreEcsTelemetryLogs context=1 ";
    EXPECT_THAT(Told("record"), ElementsAre(message + "row=0 text=one",
                                            message + "row=1 text=\"{\\\"two\\\":2}\""));
}

TEST_F(PublicationOnDemandTest, RecordsOfABatchThatNobodyAskedForAreNotMade) {
    CBus bus(events_.Sink(), false);
    bus.Publish(TwoRecords(), {});
    EXPECT_THAT(events_.Texts(), ElementsAre(StartsWith("publish "), StartsWith("message ")));
}

TEST_F(PublicationOnDemandTest, BlobOfALogIsPrintedWhole) {
    const auto log = boost::make_shared<CEventLog>(MessageType::ConfigurationEvent);
    log->GetSymbols()->AddInt32(1888, 1).AddBlob(1892, "a=1\n");
    bus_.Publish(log, {});
    EXPECT_THAT(Told("record"),
                ElementsAre("record type=10244 name=EventLog_PRODUCT_CONFIGURATION context=1 row=0 "
                            "symbol=1892-configuration text=\"a=1\\n\""));
}

}  // namespace
}  // namespace Kyr::Test
