// The slim reader/writer locks of a scripted system. They really lock; how often each is held is
// counted, so that a test can ask for one that was not let go.
//
// At most one instance at a time. Threads: any.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>

#include "kelcomm/native/NativeFunctions.h"
#include "tests/support/system/Current.h"
#include "tests/support/system/ScriptedCalls.h"

namespace Kyr::Test {

class CScriptedLocks : public CCurrent<CScriptedLocks> {
  public:
    /// `calls` must outlive the locks.
    CScriptedLocks(CScriptedCalls& calls,
                   Connectors::Common::Kelcomm::Native::NativeFunctions& functions);

    /// How many locks are held.
    std::size_t CountHeld() const;
    /// How many of these exclusively.
    std::size_t CountHeldExclusively() const;

  private:
    struct Functions;  // those of the table

    void CountHolder(void* lock, int change);

    CScriptedCalls& calls_;
    mutable std::mutex mutex_;
    std::map<void*, int> holders_;  // by the lock's word; guarded by mutex_
};

}  // namespace Kyr::Test
