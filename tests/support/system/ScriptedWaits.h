// What threads of a scripted system start, signal, wait for and close, and the window messages that
// come meanwhile: the functions of the table around CScriptedThreads.
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
#include "tests/support/system/Current.h"
#include "tests/support/system/ScriptedArea.h"
#include "tests/support/system/ScriptedObjects.h"
#include "tests/support/system/ScriptedThreads.h"

namespace Kyr::Test {

class CScriptedWaits : public CCurrent<CScriptedWaits> {
  public:
    /// All must outlive the waits. What is neither a thread nor an event is the area's mutex to
    /// WaitForSingleObject, and one of `objects` to CloseHandle.
    CScriptedWaits(CScriptedCalls& calls, CScriptedObjects& objects, CScriptedThreads& threads,
                   CScriptedArea& area,
                   Connectors::Common::Kelcomm::Native::NativeFunctions& functions);

    /// Runs in every dispatch of a window message, without a lock.
    std::function<void()> onDispatch;

    // The records.
    int translated = 0;
    int dispatched = 0;
    std::vector<std::string> handled;        // what was done with which message, numbered from 1
    std::vector<bool> manualResets;          // of the events, in the order of their making
    std::vector<std::uint32_t> messageWait;  // count, wait for all, time-out, wake mask

  private:
    struct Functions;  // those of the table

    CScriptedCalls& calls_;
    CScriptedObjects& objects_;
    CScriptedThreads& threads_;
    CScriptedArea& area_;
    std::mutex mutex_;         // guards the records
    std::uint32_t taken_ = 0;  // window messages
};

}  // namespace Kyr::Test
