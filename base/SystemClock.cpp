#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"

namespace Kyr::Base {

IClock::~IClock() = default;

namespace {

class CSystemClock final : public IClock {
  public:
    std::int64_t CalendarTime() const override {
        // Not by time_t, whose 32 bits on 32-bit Windows end in 2038.
        const auto now = boost::chrono::system_clock::now().time_since_epoch();
        return boost::chrono::duration_cast<boost::chrono::seconds>(now).count();
    }

    void SleepFor(std::chrono::milliseconds duration) override {
        // boost::this_thread::sleep_for returns at once, without an interruption point, when there
        // is nothing to sleep.
        boost::this_thread::interruption_point();
        boost::this_thread::sleep_for(boost::chrono::milliseconds(duration.count()));
    }

    void Wait(CCondition& condition, CLock& lock) override { condition.Wait(lock); }

    bool WaitFor(CCondition& condition, CLock& lock, std::chrono::milliseconds timeout) override {
        return condition.WaitFor(lock, timeout);
    }
};

}  // namespace

boost::shared_ptr<IClock> SystemClock() {
    // Never destroyed: a thread that is still waiting when the process exits may use it to the end.
    static const auto& clock = *new boost::shared_ptr<IClock>(boost::make_shared<CSystemClock>());
    return clock;
}

}  // namespace Kyr::Base
