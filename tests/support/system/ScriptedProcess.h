// The process of a scripted system: its width, and the token that tells whose it is.
//
// At most one instance at a time. Threads: the functions may be called from any thread; the records
// are read, and the script is changed, when no call is running.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"
#include "tests/support/system/Current.h"
#include "tests/support/system/ScriptedObjects.h"

namespace Kyr::Test {

class CScriptedProcess : public CCurrent<CScriptedProcess> {
  public:
    /// `calls` and `objects` must outlive the process.
    CScriptedProcess(CScriptedCalls& calls, CScriptedObjects& objects,
                     Connectors::Common::Kelcomm::Native::NativeFunctions& functions);

    // The script.
    bool isWow64 = false;
    bool isLocalSystem = false;

    // The records.
    std::vector<std::uint32_t> sidAuthority;  // its six bytes
    std::vector<std::uint32_t> sidParts;      // the count of sub-authorities, and all eight
    std::uint32_t tokenBufferSize = 0;
    std::uint32_t tokenAccess = 0;

  private:
    struct Functions;  // those of the table

    CScriptedCalls& calls_;
    CScriptedObjects& objects_;
    std::mutex mutex_;  // guards the records
    std::uint8_t userSid_[12] = {};
    std::uint8_t localSystemSid_[12] = {};
};

}  // namespace Kyr::Test
