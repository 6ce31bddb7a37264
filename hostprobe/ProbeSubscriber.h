// The probe's end of the host's bus: notes what comes, how often, in which context and from where.
//
// Threads: the bus pushes on its own; everything else on the probe's thread.
// Ownership: the bus may share it beyond the module's life.
// Errors: Push throws std::runtime_error for the one message that shall make it do so.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <vector>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "host/kernel/ISubscriber.h"

namespace Kyr::HostProbe {

struct Delivery {
    boost::shared_ptr<Common::Kernel::IMessage> message;
    boost::shared_ptr<Common::Kernel::IDeliveryContext> context;
    boost::thread::id thread;
};

class CProbeSubscriber final : public Common::Kernel::ISubscriber {
  public:
    explicit CProbeSubscriber(boost::shared_ptr<Base::IClock> clock) : clock_(std::move(clock)) {}

    void Push(const boost::shared_ptr<Common::Kernel::IMessage>& message,
              const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context) override;
    std::string Dump() const override { return "HostProbe: nothing pending"; }

    /// Push throws when this message comes.
    void ThrowAt(boost::shared_ptr<Common::Kernel::IMessage> message);
    /// Waits until the message has come. False: not within `patience` of silence.
    /// An interruption point.
    bool WaitFor(const boost::shared_ptr<Common::Kernel::IMessage>& message,
                 std::chrono::milliseconds patience);
    std::vector<Delivery> Deliveries() const;

  private:
    const boost::shared_ptr<Base::IClock> clock_;
    mutable Base::CMutex mutex_;
    Base::CCondition changed_;
    std::vector<Delivery> deliveries_ KYR_GUARDED_BY(mutex_);
    boost::shared_ptr<Common::Kernel::IMessage> throwAt_ KYR_GUARDED_BY(mutex_);
};

}  // namespace Kyr::HostProbe
