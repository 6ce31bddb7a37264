#include "tests/hostprobe/FaultyBus.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Test {

using Common::Kernel::IDeliveryContext;

CFaultyBus::CFaultyBus(BusFault fault)
    : fault_(fault),
      first_(boost::make_shared<IDeliveryContext>()),
      thread_([this] { DeliveryThread(); }) {}

CFaultyBus::~CFaultyBus() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void CFaultyBus::Publish(const Message& message, const Context& context) {
    if (fault_ == BusFault::kThrows) {
        throw std::runtime_error("no room on the bus");
    }
    const Publication publication = Spoilt({message, context});
    if (fault_ == BusFault::kDeliversInside) {
        Deliver(publication);
        return;
    }
    const std::lock_guard lock(mutex_);
    if (fault_ == BusFault::kTurnsOnePair && ++published_ == 2) {
        held_ = publication;
        return;
    }
    queue_.push_back(publication);
    if (held_.message) {
        queue_.push_back(std::exchange(held_, {}));
    }
    changed_.notify_one();
}

void CFaultyBus::Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                           Common::Kernel::MessageType) {
    const std::lock_guard lock(mutex_);
    const bool known =
        std::find(subscribers_.begin(), subscribers_.end(), subscriber) != subscribers_.end();
    if (!known || fault_ == BusFault::kDeliversTwice) {
        subscribers_.push_back(subscriber);
    }
}

bool CFaultyBus::IsIdle() {
    const std::lock_guard lock(mutex_);
    return ended_ || (queue_.empty() && !delivering_);
}

CFaultyBus::Publication CFaultyBus::Spoilt(const Publication& publication) {
    using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
    Publication spoilt = publication;
    if (!spoilt.context) {
        spoilt.context =
            fault_ == BusFault::kOneContext ? first_ : boost::make_shared<IDeliveryContext>();
    }
    if (fault_ == BusFault::kLosesContext) {
        spoilt.context = boost::make_shared<IDeliveryContext>();
    }
    if (fault_ == BusFault::kCopies) {
        spoilt.message = boost::make_shared<COvAgentRequest>(
            dynamic_cast<const COvAgentRequest&>(*publication.message));
    }
    return spoilt;
}

void CFaultyBus::DeliveryThread() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || !queue_.empty(); });
        if (ending_) {
            return;
        }
        const Publication publication = queue_.front();
        queue_.pop_front();
        delivering_ = true;
        lock.unlock();
        const bool ended = fault_ != BusFault::kDeliversNothing && !Deliver(publication);
        lock.lock();
        delivering_ = false;
        ended_ = ended;
        if (ended_) {
            return;
        }
    }
}

bool CFaultyBus::Deliver(const Publication& publication) {
    std::vector<boost::shared_ptr<Common::Kernel::ISubscriber>> subscribers;
    {
        const std::lock_guard lock(mutex_);
        subscribers = subscribers_;
    }
    for (const auto& subscriber : subscribers) {
        try {
            if (fault_ == BusFault::kDeliversAllTypes) {
                subscriber->Push(
                    boost::make_shared<
                        Common::Message::DataMiners::CDataMinerOutOfOrderEventMessage>(),
                    publication.context);
            }
            subscriber->Push(publication.message, publication.context);
        } catch (const std::exception&) {
            if (fault_ == BusFault::kEndsAtException) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace Kyr::Test
