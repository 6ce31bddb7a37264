// Messages and subscribers for the bus.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "host/kernel/ISubscriber.h"
#include "host/module/Response.h"

namespace Kyr::Test {

using Common::Kernel::IDeliveryContext;
using Common::Kernel::IMessage;
using Common::Kernel::MessageType;

/// Keeps what it gets, and then does what the test wants. Read it after CBus::WaitUntilDelivered.
class CKeepingSubscriber : public Common::Kernel::ISubscriber {
  public:
    void Push(const boost::shared_ptr<IMessage>& message,
              const boost::shared_ptr<IDeliveryContext>& context) override {
        messages.push_back(message);
        contexts.push_back(context);
        if (onPush) {
            onPush(context);
        }
    }
    std::string Dump() const override { return "keeper"; }

    std::vector<boost::shared_ptr<IMessage>> messages;
    std::vector<boost::shared_ptr<IDeliveryContext>> contexts;
    std::function<void(const boost::shared_ptr<IDeliveryContext>&)> onPush;
};

inline boost::shared_ptr<IMessage> MakeMessage(MessageType type = MessageType::Response) {
    return boost::make_shared<Common::Module::CResponse>(7, type);
}

}  // namespace Kyr::Test
