#include "hostprobe/ProbeSubscriber.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Kyr::HostProbe {

using Common::Kernel::IMessage;

void CProbeSubscriber::Push(const boost::shared_ptr<IMessage>& message,
                            const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context) {
    const Base::CLock lock(mutex_);
    deliveries_.push_back({message, context, boost::this_thread::get_id()});
    changed_.NotifyAll();
    if (throwAt_ && message == throwAt_) {
        throw std::runtime_error("HostProbe: an exception of a subscriber, which a bus survives");
    }
}

void CProbeSubscriber::ThrowAt(boost::shared_ptr<IMessage> message) {
    const Base::CLock lock(mutex_);
    throwAt_ = std::move(message);
}

bool CProbeSubscriber::WaitFor(const boost::shared_ptr<IMessage>& message,
                               std::chrono::milliseconds patience) {
    Base::CLock lock(mutex_);
    for (;;) {
        if (std::any_of(deliveries_.begin(), deliveries_.end(),
                        [&](const Delivery& delivery) { return delivery.message == message; })) {
            return true;
        }
        const std::size_t before = deliveries_.size();
        if (!clock_->WaitFor(changed_, lock, patience) && deliveries_.size() == before) {
            return false;
        }
    }
}

std::vector<Delivery> CProbeSubscriber::Deliveries() const {
    const Base::CLock lock(mutex_);
    return deliveries_;
}

}  // namespace Kyr::HostProbe
