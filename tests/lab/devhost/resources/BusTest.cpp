#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/printing/OnDemand.h"
#include "lab/devhost/resources/Bus.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CBus;
using Lab::DevHost::CDeliveryContext;
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
    CBus bus_{Lab::DevHost::OnDemand(events_.Sink(), {})};
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

/// Publishes an answer from inside its Push, as a module that works at once would.
class CAnsweringSubscriber : public CKeepingSubscriber {
  public:
    explicit CAnsweringSubscriber(CBus& bus) : bus_(bus) {}
    void Push(const boost::shared_ptr<IMessage>& message,
              const boost::shared_ptr<IDeliveryContext>& context) override {
        CKeepingSubscriber::Push(message, context);
        bus_.Publish(MakeMessage(MessageType::Reply), context);
    }

  private:
    CBus& bus_;
};

TEST_F(BusTest, SubscriberMayPublishWhileItIsCalled) {
    const auto replies = Subscribe(MessageType::Reply);
    const auto answering = boost::make_shared<CAnsweringSubscriber>(bus_);
    bus_.Subscribe(answering, MessageType::Response);
    Publish(MakeMessage(MessageType::Response));
    EXPECT_EQ(replies->contexts, answering->contexts);
}

TEST_F(BusTest, FailingSubscriberIsToldAndDoesNotKeepOthersFromTheMessage) {
    bus_.Subscribe(boost::make_shared<CRefusingSubscriber>(), MessageType::Response);
    const auto subscriber = Subscribe(MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(subscriber->messages, SizeIs(1));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("publish type=688 name=Response context=1 by=module",
                            "error type=688 name=Response context=1 to=1 text=\"no room\"",
                            "deliver type=688 name=Response context=1 to=2"));
}

/// Tells when it gets a message.
class CTellingSubscriber : public CKeepingSubscriber {
  public:
    explicit CTellingSubscriber(Lab::LineSink events) : events_(std::move(events)) {}
    void Push(const boost::shared_ptr<IMessage>&,
              const boost::shared_ptr<IDeliveryContext>&) override {
        events_(Lab::CLine("taken"));
    }

  private:
    const Lab::LineSink events_;
};

TEST_F(BusTest, DeliveryIsToldOnceTheSubscriberHasTheMessage) {
    bus_.Subscribe(boost::make_shared<CTellingSubscriber>(events_.Sink()), MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(events_.Texts(),
                ElementsAre(StartsWith("publish "), "taken", StartsWith("deliver ")));
}

}  // namespace
}  // namespace Kyr::Test
