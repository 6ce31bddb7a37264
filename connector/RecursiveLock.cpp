#include "connector/RecursiveLock.h"

namespace Kyr::Connectors::Common {

CRecursiveLock::CRecursiveLock() = default;
CRecursiveLock::~CRecursiveLock() = default;

void CRecursiveLock::lock() {
    const boost::thread::id self = boost::this_thread::get_id();
    {
        const Base::CLock guard(ownerMutex_);
        if (owner_ == self) {
            // Nobody but this thread can change that.
            ++count_;
            return;
        }
    }
    // Not under ownerMutex_: whoever unlocks needs it to say that there is no owner.
    mutex_.lock();
    const Base::CLock guard(ownerMutex_);
    owner_ = self;
    count_ = 1;
}

void CRecursiveLock::unlock() {
    if (--count_ > 0) {
        return;
    }
    {
        const Base::CLock guard(ownerMutex_);
        owner_ = boost::thread::id();
    }
    // Last: the next owner enters itself at once, and must not be taken out by us.
    mutex_.unlock();
}

}  // namespace Kyr::Connectors::Common
