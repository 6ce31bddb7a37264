#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/MessagePrinter.h"
#include "tests/lab/devhost/EventList.h"
#include "tests/lab/devhost/TestBus.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CBus;
using Lab::DevHost::CMessagePrinter;
using ::testing::ElementsAre;

class CRefusingSubscriber : public CKeepingSubscriber {
  public:
    void Push(const boost::shared_ptr<IMessage>&,
              const boost::shared_ptr<IDeliveryContext>&) override {
        throw std::runtime_error("no room");
    }
};

class MessagePrinterTest : public ::testing::Test {
  protected:
    CEventList events_;
    CMessagePrinter printer_{events_.Sink()};
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

}  // namespace
}  // namespace Kyr::Test
