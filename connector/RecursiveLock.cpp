#include "connector/RecursiveLock.h"

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Connectors::Common {

namespace {

using Guard = boost::lock_guard<boost::mutex>;

}  // namespace

CRecursiveLock::CRecursiveLock() = default;
CRecursiveLock::~CRecursiveLock() = default;

void CRecursiveLock::lock() {
    const boost::thread::id self = boost::this_thread::get_id();
    {
        const Guard guard(ownerMutex_);
        if (owner_ == self) {
            // Nobody but this thread can change that.
            ++count_;
            return;
        }
    }
    mutex_.lock();
    const Guard guard(ownerMutex_);
    owner_ = self;
    count_ = 1;
}

void CRecursiveLock::unlock() {
    if (--count_ > 0) {
        return;
    }
    {
        const Guard guard(ownerMutex_);
        owner_ = boost::thread::id();
    }
    mutex_.unlock();
}

}  // namespace Kyr::Connectors::Common
