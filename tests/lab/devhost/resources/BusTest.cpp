#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/resources/Bus.h"
#include "tests/lab/devhost/resources/TestBus.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CBus;
using Lab::DevHost::CDeliveryContext;
using namespace testing;

/// Tells of deliveries.
class CTellingObserver : public CSilentObserver {
  public:
    void OnDeliver(const Publication&, std::size_t subscriber) override {
        told.push_back("delivered to " + std::to_string(subscriber));
    }
    void OnDeliveryFailed(const Publication&, std::size_t subscriber,
                          const std::string& text) override {
        told.push_back("not delivered to " + std::to_string(subscriber) + ": " + text);
    }

    std::vector<std::string> told;  // on the delivery thread
};

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

    CTellingObserver observer_;
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
    EXPECT_THAT(observer_.told, ElementsAre("not delivered to 1: no room", "delivered to 2"));
}

/// Says in the observer's list when it gets a message.
class CTellingSubscriber : public CKeepingSubscriber {
  public:
    explicit CTellingSubscriber(CTellingObserver& observer) : observer_(observer) {}
    void Push(const boost::shared_ptr<IMessage>&,
              const boost::shared_ptr<IDeliveryContext>&) override {
        observer_.told.emplace_back("taken");
    }

  private:
    CTellingObserver& observer_;
};

TEST_F(BusTest, DeliveryIsToldOnceTheSubscriberHasTheMessage) {
    bus_.Subscribe(boost::make_shared<CTellingSubscriber>(observer_), MessageType::Response);
    Publish(MakeMessage());
    EXPECT_THAT(observer_.told, ElementsAre("taken", "delivered to 1"));
}

}  // namespace
}  // namespace Kyr::Test
