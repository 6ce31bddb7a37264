#include <gmock/gmock.h>
#include <stdexcept>

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
using Lab::DevHost::CDeliveryContext;
using Lab::DevHost::OnDemand;
using namespace testing;

class BusTest : public ::testing::Test {
  protected:
    boost::shared_ptr<CKeepingSubscriber> Subscribe(MessageType type) {
        auto subscriber = boost::make_shared<CKeepingSubscriber>();
        bus_.Subscribe(subscriber, type);
        return subscriber;
    }

    void Publish(const boost::shared_ptr<IMessage>& message,
                 const boost::shared_ptr<IDeliveryContext>& context = {}) {
        bus_.Publish(message, context);
        bus_.WaitUntilDelivered();
    }

    Lab::CLineList events_;
    CBus bus_{OnDemand(events_.Sink(), {})};
};

TEST_F(BusTest, MessagesArriveInTheOrderOfPublishing) {
    const auto subscriber = Subscribe(MessageType::Response);
    std::vector<boost::shared_ptr<IMessage>> published;
    for (int count = 0; count < 100; ++count) {
        published.push_back(MakeMessage());
        bus_.Publish(published.back(), {});
    }
    bus_.WaitUntilDelivered();
    EXPECT_THAT(subscriber->messages, ElementsAreArray(published));
}

TEST_F(BusTest, MessageReachesEverySubscriberOfItsTypeOnce) {
    const auto first = Subscribe(MessageType::Response);
    const auto other = Subscribe(MessageType::Reply);
    const auto both = Subscribe(MessageType::Response);
    bus_.Subscribe(both, MessageType::Reply);
    bus_.Subscribe(first, MessageType::Response);
    const auto response = MakeMessage(MessageType::Response);
    const auto reply = MakeMessage(MessageType::Reply);
    Publish(response);
    Publish(reply);
    EXPECT_THAT(first->messages, ElementsAre(response));
    EXPECT_THAT(other->messages, ElementsAre(reply));
    EXPECT_THAT(both->messages, ElementsAre(response, reply));
    EXPECT_THAT(bus_.DumpSubscribers(), ElementsAre("keeper", "keeper", "keeper"));
}

TEST_F(BusTest, ContextOfAMessageIsKept) {
    const auto subscriber = Subscribe(MessageType::Response);
    const auto context = boost::make_shared<CDeliveryContext>(42);
    Publish(MakeMessage(), context);
    EXPECT_THAT(subscriber->contexts, ElementsAre(context));
}

TEST_F(BusTest, MessagesWithoutAContextGetOneEach) {
    const auto subscriber = Subscribe(MessageType::Response);
    Publish(MakeMessage());
    Publish(MakeMessage());
    ASSERT_THAT(subscriber->contexts, SizeIs(2));
    ASSERT_TRUE(subscriber->contexts[0] && subscriber->contexts[1]);
    EXPECT_NE(subscriber->contexts[0], subscriber->contexts[1]);
}

TEST_F(BusTest, MissingMessageAndMissingSubscriberAreRefused) {
    EXPECT_THROW(bus_.Publish({}, {}), std::invalid_argument);
    EXPECT_THROW(bus_.Subscribe({}, MessageType::Reply), std::invalid_argument);
}

TEST_F(BusTest, SubscriberMayPublishWhileItIsCalled) {
    const auto replies = Subscribe(MessageType::Reply);
    const auto answering = Subscribe(MessageType::Response);
    answering->onPush = [this](const auto& context) {
        bus_.Publish(MakeMessage(MessageType::Reply), context);
    };
    Publish(MakeMessage());
    EXPECT_THAT(replies->contexts, SizeIs(1));
    EXPECT_EQ(replies->contexts, answering->contexts);
}

TEST_F(BusTest, FailingSubscriberIsToldAndDoesNotKeepOthersFromTheMessage) {
    Subscribe(MessageType::Response)->onPush = [](const auto&) {
        throw std::runtime_error("no room");
    };
    const auto subscriber = Subscribe(MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(subscriber->messages, SizeIs(1));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("publish type=688 name=Response context=1 by=module",
                            "error type=688 name=Response context=1 to=1 text=\"no room\"",
                            "deliver type=688 name=Response context=1 to=2"));
}

TEST_F(BusTest, DeliveryIsToldOnceTheSubscriberHasTheMessage) {
    Subscribe(MessageType::Response)->onPush = [this](const auto&) {
        events_.Sink()(Lab::CLine("taken"));
    };
    Publish(MakeMessage());
    EXPECT_THAT(events_.Texts(),
                ElementsAre(StartsWith("publish "), "taken", StartsWith("deliver ")));
}

// What is told of a message

TEST_F(BusTest, LogIsToldWithItsSymbolsAndWhatItLacksIsAnError) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus);
    log->GetSymbols()->CreateRow()->AddInt32(2143, 1);
    Publish(log);
    const std::string message = " type=10292 name=StatusLog_AGENT_PRESENCE context=1 ";
    EXPECT_THAT(events_.Take(), ElementsAre("publish" + message + "by=module",
                                            "symbols" + message + "row=0 2143-presence=1",
                                            StartsWith("error" + message)));
}

TEST_F(BusTest, StateOfAMessageAndWhetherItHadAContextAreToldOnDemand) {
    CBus bus(OnDemand(events_.Sink(), {"message"}));
    const auto request = boost::make_shared<COvAgentRequest>();
    bus.Publish(request, {});
    request->SetReadOnly();
    bus.Publish(request, boost::make_shared<CDeliveryContext>(9));
    bus.Publish(MakeMessage(), {});  // knows no write protection
    const std::string message = "message type=7 name=OvAgentRequest context=";
    EXPECT_THAT(
        events_.Texts(),
        ElementsAre(StartsWith("publish "), message + "1 by=module read-only=no with-context=no",
                    StartsWith("publish "), message + "9 by=module read-only=yes with-context=yes",
                    StartsWith("publish "),
                    "message type=688 name=Response context=2 by=module with-context=no"));
}

TEST_F(BusTest, RecordsOfABatchAreToldOneByOneOnDemandAndElseNotEvenMade) {
    const auto batch = boost::make_shared<CDataMinerStoreEcsTelemetryLogs>();
    batch->SetLogs({"one", "{\"two\":2}"});
    CBus(OnDemand(events_.Sink(), {"record"})).Publish(batch, {});
    const std::string record = "record type=77 name=DataMinerStoreEcsTelemetryLogs context=1 ";
    EXPECT_THAT(events_.Take(), ElementsAre(StartsWith("publish "), record + "row=0 text=one",
                                            record + "row=1 text=\"{\\\"two\\\":2}\""));
    CBus(events_.Sink(), false).Publish(batch, {});
    EXPECT_THAT(events_.Texts(), ElementsAre(StartsWith("publish "), StartsWith("message ")));
}

TEST_F(BusTest, BlobOfALogIsToldWholeOnDemand) {
    const auto log = boost::make_shared<CEventLog>(MessageType::ConfigurationEvent);
    log->GetSymbols()->AddInt32(1888, 1).AddBlob(1892, "a=1\n");
    CBus(OnDemand(events_.Sink(), {"record"})).Publish(log, {});
    EXPECT_THAT(events_.Texts(),
                Contains("record type=10244 name=EventLog_PRODUCT_CONFIGURATION context=1 row=0 "
                         "symbol=1892-configuration text=\"a=1\\n\""));
}

}  // namespace
}  // namespace Kyr::Test
