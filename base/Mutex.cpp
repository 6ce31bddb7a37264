#include "base/Mutex.h"

#include <algorithm>
#include <exception>

#include <boost/thread/thread.hpp>

namespace Kyr::Base {

namespace {

// Our own choice: long enough to cost nothing, short enough to come in time when memory is back.
constexpr std::chrono::milliseconds kShortSleep(100);

}  // namespace

void CCondition::Wait(CLock& lock) {
    try {
        condition_.wait(lock.lock_);
    } catch (const std::exception&) {
        WaitWithoutCondition(lock, kShortSleep);
    }
}

bool CCondition::WaitFor(CLock& lock, std::chrono::microseconds timeout) {
    const boost::chrono::microseconds limit(timeout.count());
    try {
        return condition_.wait_for(lock.lock_, limit) == boost::cv_status::no_timeout;
    } catch (const std::exception&) {
        WaitWithoutCondition(lock, timeout);
        return timeout > kShortSleep;
    }
}

// A thread that must not end cannot let it out that the system has no room for its wait. To its
// caller this is one of the times that it woke without a reason.
void CCondition::WaitWithoutCondition(CLock& lock, std::chrono::microseconds limit) {
    lock.Unlock();
    const auto sleep = std::min<std::chrono::microseconds>(limit, kShortSleep);
    boost::this_thread::no_interruption_point::sleep_for(
        boost::chrono::microseconds(sleep.count()));
    lock.Lock();
}

}  // namespace Kyr::Base
