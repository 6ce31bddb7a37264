// A bus message of any type and name, and a delivery context with an identity.
#pragma once

#include <string>
#include <utility>

#include <boost/make_shared.hpp>

#include "host/kernel/IDeliveryContext.h"
#include "host/message/Message.h"

namespace Kyr::Test {

class CTestMessage : public Common::Message::CMessage {
  public:
    CTestMessage(Common::Kernel::MessageType type, std::string name)
        : type_(type), name_(std::move(name)) {}
    Common::Kernel::MessageType GetMessageType() const override { return type_; }
    std::string GetName() const override { return name_; }
    bool Equals(const Common::Kernel::IMessage& other) const override { return this == &other; }

  private:
    Common::Kernel::MessageType type_;
    std::string name_;
};

class CTestContext : public Common::Kernel::IDeliveryContext {};

inline boost::shared_ptr<CTestMessage> MakeMessage(
    std::string name,
    Common::Kernel::MessageType type = Common::Kernel::MessageType::OvAgentRequest) {
    return boost::make_shared<CTestMessage>(type, std::move(name));
}

inline boost::shared_ptr<Common::Kernel::IDeliveryContext> MakeContext() {
    return boost::make_shared<CTestContext>();
}

}  // namespace Kyr::Test
