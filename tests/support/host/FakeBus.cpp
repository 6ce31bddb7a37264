#include "tests/support/host/FakeBus.h"

#include <set>

namespace Kyr::Test {

void CFakeBus::Publish(const Message& message, const Context& context) {
    if (const auto hook = hook_.Get()) {
        hook(message);
    }
    if (recording_) {
        publications_.With([&](auto& known) { known.push_back({message, context}); });
    }
    if (delivering_) {
        Deliver(message, context);
    }
}

void CFakeBus::Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                         Common::Kernel::MessageType type) {
    subscriptions_.With([&](auto& known) { known.push_back({subscriber, type}); });
}

void CFakeBus::Deliver(const Message& message, const Context& context) {
    std::set<Common::Kernel::ISubscriber*> served;
    for (const Subscription& subscription : Subscriptions()) {
        if (subscription.type == message->GetMessageType() &&
            served.insert(subscription.subscriber.get()).second) {
            subscription.subscriber->Push(message, context);
        }
    }
}

}  // namespace Kyr::Test
