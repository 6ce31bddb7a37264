#include <algorithm>

#include <boost/chrono/ceil.hpp>
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
        const auto end =
            boost::chrono::steady_clock::now() + boost::chrono::milliseconds(duration.count());
        try {
            boost::this_thread::sleep_for(boost::chrono::milliseconds(duration.count()));
        } catch (const boost::thread_resource_error&) {
            SleepInPieces(end);
        }
    }

    void Wait(CCondition& condition, CLock& lock) override { condition.Wait(lock); }

    bool WaitFor(CCondition& condition, CLock& lock, std::chrono::milliseconds timeout) override {
        return condition.WaitFor(lock, timeout);
    }

  private:
    using TimePoint = boost::chrono::steady_clock::time_point;

    // A sleep that can be interrupted takes a lock of its own, and the system may have none left.
    // Without one, interruptions are looked for instead of waited for.
    static void SleepInPieces(const TimePoint& end) {
        const boost::chrono::milliseconds piece(100);
        for (auto now = boost::chrono::steady_clock::now(); now < end;
             now = boost::chrono::steady_clock::now()) {
            const auto rest = boost::chrono::ceil<boost::chrono::milliseconds>(end - now);
            boost::this_thread::no_interruption_point::sleep_for(std::min(rest, piece));
            boost::this_thread::interruption_point();
        }
    }
};

}  // namespace

boost::shared_ptr<IClock> SystemClock() {
    // Never destroyed: a thread that is still waiting when the process exits may use it to the end.
    static const auto& clock = *new boost::shared_ptr<IClock>(boost::make_shared<CSystemClock>());
    return clock;
}

}  // namespace Kyr::Base
