#include "lab/devhost/resources/Bus.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

namespace Kyr::Lab::DevHost {

using Common::Kernel::IDeliveryContext;
using Common::Kernel::IMessage;
using Common::Kernel::ISubscriber;
using Common::Kernel::MessageType;

using Lock = boost::unique_lock<boost::mutex>;

CBus::CBus(LineSink events, bool tellsRecords)
    : events_(std::move(events)),
      tellsRecords_(tellsRecords),
      thread_([this] { DeliveryThread(); }) {}

CBus::~CBus() {
    {
        const Lock lock(mutex_);
        ending_ = true;
        changed_.notify_all();
    }
    const boost::this_thread::disable_interruption noInterruption;
    thread_.join();
}

void CBus::Publish(const boost::shared_ptr<IMessage>& message,
                   const boost::shared_ptr<IDeliveryContext>& context) {
    Enqueue({"module", message, context});
}

void CBus::PublishAsHost(const boost::shared_ptr<IMessage>& message) {
    Enqueue({"host", message, {}});
}

void CBus::Enqueue(Publication publication) {
    if (!publication.message) {
        throw std::invalid_argument("Publish without a message");
    }
    const Lock lock(mutex_);
    if (!publication.context) {
        publication.context = boost::make_shared<CDeliveryContext>(++lastContext_);
        publication.cameWithContext = false;
    }
    TellPublished(publication, tellsRecords_, events_);
    queue_.push_back(std::move(publication));
    changed_.notify_all();
}

void CBus::Subscribe(const boost::shared_ptr<ISubscriber>& subscriber, MessageType type) {
    if (!subscriber) {
        throw std::invalid_argument("Subscribe without a subscriber");
    }
    const Lock lock(mutex_);
    const auto known = std::find(subscribers_.begin(), subscribers_.end(), subscriber);
    const auto index = static_cast<std::size_t>(known - subscribers_.begin());
    if (known == subscribers_.end()) {
        subscribers_.push_back(subscriber);
    }
    events_(CLine("subscribe").With("type", TypeText(type)).With("to", index + 1));
    std::vector<Receiver>& route = routes_[type];
    const Receiver receiver(index + 1, subscriber);
    if (std::find(route.begin(), route.end(), receiver) == route.end()) {
        route.push_back(receiver);
    }
}

void CBus::WaitUntilDelivered() {
    Lock lock(mutex_);
    while (!queue_.empty() || delivering_) {
        changed_.wait(lock);
    }
}

std::vector<std::string> CBus::DumpSubscribers() const {
    const auto subscribers = [this] {
        const Lock lock(mutex_);
        return subscribers_;
    }();
    std::vector<std::string> dumps;
    dumps.reserve(subscribers.size());
    for (const Subscriber& subscriber : subscribers) {
        dumps.push_back(subscriber->Dump());
    }
    return dumps;
}

void CBus::DeliveryThread() {
    Lock lock(mutex_);
    while (!ending_) {
        if (queue_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const Publication publication = std::move(queue_.front());
        queue_.pop_front();
        delivering_ = true;
        lock.unlock();
        Deliver(publication);
        lock.lock();
        delivering_ = false;
        changed_.notify_all();
    }
}

void CBus::Deliver(const Publication& publication) {
    const auto receivers = [&] {
        const Lock lock(mutex_);
        return routes_[publication.message->GetMessageType()];
    }();
    for (const auto& [number, subscriber] : receivers) {
        try {
            subscriber->Push(publication.message, publication.context);
        } catch (const std::exception& exception) {
            events_(
                BusLine("error", publication).With("to", number).With("text", exception.what()));
            continue;
        }
        // Not before: who hears of it may count on the message being the subscriber's.
        events_(BusLine("deliver", publication).With("to", number));
    }
}

}  // namespace Kyr::Lab::DevHost
