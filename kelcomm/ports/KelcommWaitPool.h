// Threads that wait for replies in the place of a caller, so that the caller's window messages keep
// flowing meanwhile.
//
// Used by the LPC client when its options ask for it. A thread is started when no idle one is left
// and ends after a minute without work.
// Threads: Exchange may be called from several threads; Close only when no further call begins.
// Ownership: the native table must outlive the pool and every thread that Close had to give up.
// Errors: native statuses; nothing throws.
#pragma once

#include <memory>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CKelcommWaitPool {
  public:
    /// Null when the pool's event cannot be made.
    static std::unique_ptr<CKelcommWaitPool> Create(const Native::NativeFunctions& native);
    ~CKelcommWaitPool();
    CKelcommWaitPool(const CKelcommWaitPool&) = delete;
    CKelcommWaitPool& operator=(const CKelcommWaitPool&) = delete;

    /// NtRequestWaitReplyPort on one of the pool's threads, dispatching window messages until it
    /// returns. Its status, or STATUS_UNSUCCESSFUL when no thread could do it.
    /// REQUIRES: both messages stay valid until the call returns.
    NtApi::NtStatus Exchange(NtApi::Handle port, void* request, void* reply);

    /// Ends every thread, those that do not finish within a second by force; exchanges that are
    /// still waiting return STATUS_UNSUCCESSFUL. Safe to call again.
    void Close();

  private:
    struct Job;
    class CShared;
    explicit CKelcommWaitPool(std::shared_ptr<CShared> shared);

    // Shared with the threads, so that one that outlives Close finds it.
    const std::shared_ptr<CShared> shared_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
