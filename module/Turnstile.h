// Lets one thread through at a time. The others wait until it has left, or until they are
// interrupted: that is what a mutex cannot do. Time has no part in it, so it needs no clock.
//
// Threads: any. No order among those that wait.
// Ownership: must outlive its passages.
#pragma once

#include "base/Mutex.h"

namespace Kyr::Connectors::OvAgentConnector {

class CTurnstile {
  public:
    /// A thread is through while it has one.
    class CPassage {
      public:
        /// Waits for its turn. Throws boost::thread_interrupted when the thread is interrupted
        /// while it waits, or was before and would have to wait.
        explicit CPassage(CTurnstile& turnstile);
        ~CPassage();
        CPassage(const CPassage&) = delete;
        CPassage& operator=(const CPassage&) = delete;

      private:
        CTurnstile& turnstile_;
    };

    CTurnstile();
    ~CTurnstile();
    CTurnstile(const CTurnstile&) = delete;
    CTurnstile& operator=(const CTurnstile&) = delete;

  private:
    Base::CMutex mutex_;
    Base::CCondition left_;
    bool taken_ KYR_GUARDED_BY(mutex_) = false;
};

}  // namespace Kyr::Connectors::OvAgentConnector
