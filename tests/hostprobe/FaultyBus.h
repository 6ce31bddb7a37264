// A bus with a thread of its own, as a host has, and one fault of those that hosts have.
//
// Threads: any. Ownership: subscribers are shared and kept.
// Errors: what a subscriber throws is passed over, unless the fault is that it is not.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "host/kernel/Resources.h"

namespace Kyr::Test {

enum class BusFault {
    kNone,
    kDeliversNothing,
    kCopies,            // another object comes than was published
    kDeliversInside,    // from inside Publish
    kDeliversTwice,     // to who has subscribed twice
    kTurnsOnePair,      // the third message comes before the second
    kLosesContext,      // all come in a context of the bus's
    kOneContext,        // what comes without a context gets the first one
    kEndsAtException,   // the delivery
    kDeliversAllTypes,  // something that nobody has asked for, now and then
    kThrows,            // from Publish
};

class CFaultyBus final : public Common::Kernel::IBusResource {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Context = boost::shared_ptr<Common::Kernel::IDeliveryContext>;

    explicit CFaultyBus(BusFault fault);
    ~CFaultyBus() override;

    void Publish(const Message& message, const Context& context) override;
    void Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                   Common::Kernel::MessageType type) override;

    /// Nothing more comes unless something more is published.
    bool IsIdle();

  private:
    struct Publication {
        Message message;
        Context context;
    };

    Publication Spoilt(const Publication& publication);
    void DeliveryThread();
    /// False: the bus has had enough.
    bool Deliver(const Publication& publication);

    const BusFault fault_;
    const Context first_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Publication> queue_;
    std::vector<boost::shared_ptr<Common::Kernel::ISubscriber>> subscribers_;
    int published_ = 0;
    Publication held_;
    bool ending_ = false;
    bool delivering_ = false;
    bool ended_ = false;
    std::thread thread_;  // last: it uses everything above
};

}  // namespace Kyr::Test
