// The host's message bus: what is published reaches every subscriber of its type, in the order of
// publishing, on one delivery thread.
//
// A subscriber gets a message once, however often it subscribed to the type. A message that is
// published with a context keeps it; one without gets a new context, so that all that comes of it
// can be told from the rest.
//
// Told are subscriptions, on demand, publications, and deliveries once the subscriber has the
// message; a subscriber has a number, in the order of first subscriptions from 1.
//
// Threads: every operation from any thread. Events are told under a lock of the bus or on the
// delivery thread, and whoever takes them must not call the bus.
// Ownership: subscribers are shared and kept until the bus is destroyed.
// Errors: what a subscriber throws is an `error` event, and the delivery goes on.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "host/kernel/Resources.h"
#include "lab/devhost/resources/Publication.h"

namespace Kyr::Lab::DevHost {

class CBus final : public Common::Kernel::IBusResource {
  public:
    /// `tellsRecords` as in TellPublished.
    explicit CBus(LineSink events, bool tellsRecords = true);
    CBus(const CBus&) = delete;
    CBus& operator=(const CBus&) = delete;
    /// Ends the delivery thread; what has not been delivered then is dropped.
    ~CBus() override;

    /// For modules.
    void Publish(const boost::shared_ptr<Common::Kernel::IMessage>& message,
                 const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context) override;
    void Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                   Common::Kernel::MessageType type) override;

    /// For the host itself: publishes in a new context.
    void PublishAsHost(const boost::shared_ptr<Common::Kernel::IMessage>& message);

    /// Returns when everything published so far has been delivered.
    void WaitUntilDelivered();

    /// Each subscriber's own line about what it has not worked off, in subscriber order.
    std::vector<std::string> DumpSubscribers() const;

  private:
    using Subscriber = boost::shared_ptr<Common::Kernel::ISubscriber>;
    using Receiver = std::pair<std::size_t, Subscriber>;  // with its number

    void Enqueue(Publication publication);
    void DeliveryThread();
    void Deliver(const Publication& publication);

    const LineSink events_;
    const bool tellsRecords_;

    // Guarded by mutex_.
    mutable boost::mutex mutex_;
    boost::condition_variable changed_;
    std::list<Publication> queue_;
    std::vector<Subscriber> subscribers_;
    std::map<Common::Kernel::MessageType, std::vector<Receiver>> routes_;  // each once
    std::uint64_t lastContext_ = 0;
    bool delivering_ = false;
    bool ending_ = false;

    boost::thread thread_;  // last: it uses everything above
};

}  // namespace Kyr::Lab::DevHost
