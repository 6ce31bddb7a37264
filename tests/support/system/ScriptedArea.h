// The broadcast area of a scripted system, with its named mutex: what the clients open, map and
// wait for.
//
// At most one instance at a time. Threads: the functions may be called from any thread; the records
// are read, and the script is changed, when no call is running.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"
#include "ntapi/Status.h"
#include "tests/support/system/Current.h"
#include "tests/support/system/ScriptedObjects.h"

namespace Kyr::Test {

class CScriptedArea : public CCurrent<CScriptedArea> {
  public:
    /// `calls` and `objects` must outlive the area.
    CScriptedArea(CScriptedCalls& calls, CScriptedObjects& objects,
                  Connectors::Common::Kelcomm::Native::NativeFunctions& functions);

    // The script.
    std::vector<std::uint8_t> bytes;  // exactly what is mapped
    std::uint32_t mutexWait = NtApi::kWaitObject0;
    /// Runs in every wait for the mutex, without a lock.
    std::function<void()> onMutexWait;

    // The records.
    std::vector<std::u16string> openedNames;
    std::vector<std::uint32_t> openedAccess;
    std::vector<std::uint32_t> mutexTimeouts;
    unsigned releasedMutexes = 0;

    /// For WaitForSingleObject, which waits for other objects as well.
    std::uint32_t WaitForMutex(NtApi::Handle mutex, std::uint32_t milliseconds);

  private:
    struct Functions;  // those of the table

    NtApi::Handle Open(const char* function, const char* kind, std::uint32_t access,
                       NtApi::Bool inherit, const char16_t* name);

    CScriptedCalls& calls_;
    CScriptedObjects& objects_;
    std::mutex mutex_;  // guards the records
};

}  // namespace Kyr::Test
