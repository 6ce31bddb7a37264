#include "lab/devhost/typed/ReplyBuilder.h"

#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "host/module/Response.h"

namespace Kyr::Lab::DevHost {

using Common::Kernel::IMessage;
using Common::Kernel::MessageType;

namespace {

/// What no module of this host sends: a message of a reply's type and of another class.
class CAlienReply final : public IMessage {
  public:
    explicit CAlienReply(MessageType type) : type_(type) {}
    MessageType GetMessageType() const override { return type_; }
    std::string GetName() const override { return "AlienReply"; }
    bool Equals(const IMessage& other) const override { return this == &other; }

  private:
    const MessageType type_;
};

MessageType ReplyType(std::int32_t number) {
    const auto type = static_cast<MessageType>(number);
    if (type != MessageType::Response && type != MessageType::Reply) {
        throw std::invalid_argument("the type of a reply is 688 or 1");
    }
    return type;
}

}  // namespace

boost::shared_ptr<IMessage> BuildReply(CCommandArguments& arguments) {
    const MessageType type = ReplyType(arguments.TakeInt32("type").value_or(688));
    const std::int32_t request = arguments.TakeInt32("request").value_or(0);
    const bool alien = arguments.TakeFlag("alien");
    arguments.Finish();
    if (alien) {
        return boost::make_shared<CAlienReply>(type);
    }
    return boost::make_shared<Common::Module::CResponse>(static_cast<std::uint32_t>(request), type);
}

}  // namespace Kyr::Lab::DevHost
