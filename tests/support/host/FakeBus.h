// A host bus for tests: remembers what is published, or forgets it, and delivers to its subscribers
// what the test tells it to, or everything.
//
// Delivery only pushes into the subscribers' queues, in order, and once a subscriber however often
// it has subscribed. Threads: any.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "host/kernel/Resources.h"

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
    void SetDelivering(bool delivering);
    /// Whether what is published is remembered from now on.
    void SetRecording(bool recording);
    /// Called with every published message before it is recorded; what it throws reaches the
    /// publisher.
    void OnPublish(std::function<void(const Message&)> hook);

    std::vector<Publication> Publications() const;
    std::vector<Subscription> Subscriptions() const;

  private:
    mutable boost::mutex mutex_;  // guards everything below
    std::vector<Publication> publications_;
    std::vector<Subscription> subscriptions_;
    bool delivering_ = false;
    bool recording_ = true;
    std::function<void(const Message&)> hook_;
};

}  // namespace Kyr::Test
