#include "tests/support/host/FakeBus.h"

#include <set>
#include <utility>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Test {

namespace {

using Guard = boost::lock_guard<boost::mutex>;

}  // namespace

void CFakeBus::Publish(const Message& message, const Context& context) {
    std::function<void(const Message&)> hook;
    {
        const Guard guard(mutex_);
        hook = hook_;
    }
    if (hook) {
        hook(message);
    }
    bool delivering = false;
    {
        const Guard guard(mutex_);
        if (recording_) {
            publications_.push_back({message, context});
        }
        delivering = delivering_;
    }
    if (delivering) {
        Deliver(message, context);
    }
}

void CFakeBus::Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                         Common::Kernel::MessageType type) {
    const Guard guard(mutex_);
    subscriptions_.push_back({subscriber, type});
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

void CFakeBus::SetDelivering(bool delivering) {
    const Guard guard(mutex_);
    delivering_ = delivering;
}

void CFakeBus::SetRecording(bool recording) {
    const Guard guard(mutex_);
    recording_ = recording;
}

void CFakeBus::OnPublish(std::function<void(const Message&)> hook) {
    const Guard guard(mutex_);
    hook_ = std::move(hook);
}

std::vector<CFakeBus::Publication> CFakeBus::Publications() const {
    const Guard guard(mutex_);
    return publications_;
}

std::vector<CFakeBus::Subscription> CFakeBus::Subscriptions() const {
    const Guard guard(mutex_);
    return subscriptions_;
}

}  // namespace Kyr::Test
