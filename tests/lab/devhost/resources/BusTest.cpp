#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/resources/Bus.h"
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

    CSilentObserver observer_;
    CBus bus_{observer_};
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

TEST_F(BusTest, MessageReachesOnlySubscribersOfItsType) {
    const auto subscriber = Subscribe(MessageType::Reply);
    Publish(MakeMessage(MessageType::Response));
    EXPECT_THAT(subscriber->messages, IsEmpty());
}

TEST_F(BusTest, SubscriberOfSeveralTypesGetsAllOfThem) {
    const auto subscriber = Subscribe(MessageType::Reply);
    bus_.Subscribe(subscriber, MessageType::Response);
    Publish(MakeMessage(MessageType::Reply));
    Publish(MakeMessage(MessageType::Response));
    EXPECT_THAT(subscriber->messages, SizeIs(2));
}

TEST_F(BusTest, SubscribingTwiceToATypeStillGivesOneDelivery) {
    const auto subscriber = Subscribe(MessageType::Response);
    bus_.Subscribe(subscriber, MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(subscriber->messages, SizeIs(1));
}

TEST_F(BusTest, EverySubscriberOfATypeGetsTheMessage) {
    const auto first = Subscribe(MessageType::Response);
    const auto second = Subscribe(MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(first->messages, SizeIs(1));
    EXPECT_THAT(second->messages, SizeIs(1));
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

TEST_F(BusTest, MissingMessageIsRefused) {
    EXPECT_THROW(bus_.Publish({}, {}), std::invalid_argument);
}

TEST_F(BusTest, MissingSubscriberIsRefused) {
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

TEST_F(BusTest, FailingSubscriberDoesNotKeepOthersFromTheMessage) {
    bus_.Subscribe(boost::make_shared<CRefusingSubscriber>(), MessageType::Response);
    const auto subscriber = Subscribe(MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(subscriber->messages, SizeIs(1));
}

/// Tells of deliveries when they are told to it, and of messages when it gets them.
class CTellingEnd : public CSilentObserver, public CKeepingSubscriber {
  public:
    void OnDeliver(const Publication&, std::size_t subscriber) override {
        told.push_back("delivered to " + std::to_string(subscriber));
    }
    void OnDeliveryFailed(const Publication&, std::size_t subscriber,
                          const std::string& text) override {
        told.push_back("not delivered to " + std::to_string(subscriber) + ": " + text);
    }
    void Push(const boost::shared_ptr<IMessage>&,
              const boost::shared_ptr<IDeliveryContext>&) override {
        told.emplace_back("taken");
    }

    std::vector<std::string> told;
};

TEST_F(BusTest, DeliveryIsToldOnceTheSubscriberHasTheMessage) {
    const auto end = boost::make_shared<CTellingEnd>();
    CBus bus(*end);
    bus.Subscribe(end, MessageType::Response);
    bus.Publish(MakeMessage(), {});
    bus.WaitUntilDelivered();
    EXPECT_THAT(end->told, ElementsAre("taken", "delivered to 1"));
}

TEST_F(BusTest, FailedDeliveryIsToldInsteadOfADelivery) {
    CTellingEnd end;
    CBus bus(end);
    bus.Subscribe(boost::make_shared<CRefusingSubscriber>(), MessageType::Response);
    bus.Publish(MakeMessage(), {});
    bus.WaitUntilDelivered();
    EXPECT_THAT(end.told, ElementsAre("not delivered to 1: no room"));
}

TEST_F(BusTest, DumpHasALineForEachSubscriberOnce) {
    const auto subscriber = Subscribe(MessageType::Response);
    bus_.Subscribe(subscriber, MessageType::Reply);
    Subscribe(MessageType::Reply);
    EXPECT_THAT(bus_.DumpSubscribers(), ElementsAre("keeper", "keeper"));
}

}  // namespace
}  // namespace Kyr::Test
