// A host bus for tests: remembers what is published, or forgets it, and delivers to its subscribers
// what the test tells it to, or everything.
//
// Delivery only pushes into the subscribers' queues, in order, and once a subscriber however often
// it has subscribed. Threads: any.
#pragma once

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "host/kernel/Resources.h"
#include "tests/support/Guarded.h"

namespace Kyr::Test {

class CFakeBus : public Common::Kernel::IBusResource {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Context = boost::shared_ptr<Common::Kernel::IDeliveryContext>;

    struct Publication {
        Message message;
        Context context;
    };
    struct Subscription {
        boost::shared_ptr<Common::Kernel::ISubscriber> subscriber;
        Common::Kernel::MessageType type;
    };

    void Publish(const Message& message, const Context& context) override;
    void Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                   Common::Kernel::MessageType type) override;

    /// Pushes `message` to the subscribers of its type, on the calling thread.
    void Deliver(const Message& message, const Context& context = Context());
    /// From now on what is published is delivered as well.
    void SetDelivering(bool delivering) { delivering_ = delivering; }
    /// Whether what is published is remembered from now on.
    void SetRecording(bool recording) { recording_ = recording; }
    /// Called with every published message before it is recorded; what it throws reaches the
    /// publisher.
    void OnPublish(std::function<void(const Message&)> hook) { hook_.Set(std::move(hook)); }

    std::vector<Publication> Publications() const { return publications_.Get(); }
    std::vector<Subscription> Subscriptions() const { return subscriptions_.Get(); }

  private:
    CGuarded<std::vector<Publication>> publications_;
    CGuarded<std::vector<Subscription>> subscriptions_;
    std::atomic<bool> delivering_{false};
    std::atomic<bool> recording_{true};
    CGuarded<std::function<void(const Message&)>> hook_;
};

}  // namespace Kyr::Test
