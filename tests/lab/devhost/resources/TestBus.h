// Messages and subscribers for the bus.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

#include "host/kernel/ISubscriber.h"
#include "host/module/Response.h"

namespace Kyr::Test {

using Common::Kernel::IDeliveryContext;
using Common::Kernel::IMessage;
using Common::Kernel::MessageType;

/// Keeps what it gets. Read it after CBus::WaitUntilDelivered.
class CKeepingSubscriber : public Common::Kernel::ISubscriber {
  public:
    void Push(const boost::shared_ptr<IMessage>& message,
              const boost::shared_ptr<IDeliveryContext>& context) override {
        messages.push_back(message);
        contexts.push_back(context);
    }
    std::string Dump() const override { return "keeper"; }

    std::vector<boost::shared_ptr<IMessage>> messages;
    std::vector<boost::shared_ptr<IDeliveryContext>> contexts;
};

/// Takes nothing.
class CRefusingSubscriber : public CKeepingSubscriber {
  public:
    void Push(const boost::shared_ptr<IMessage>&,
              const boost::shared_ptr<IDeliveryContext>&) override {
        throw std::runtime_error("no room");
    }
};

inline boost::shared_ptr<IMessage> MakeMessage(MessageType type = MessageType::Response) {
    return boost::make_shared<Common::Module::CResponse>(7, type);
}

}  // namespace Kyr::Test
