#include "tests/support/system/ScriptedNative.h"

#include <stdexcept>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Test {

namespace Native = Connectors::Common::Kelcomm::Native;

CScriptedNative::CScriptedNative() : functions_(Native::FallbackNativeFunctions()) {}

// Threads that still run call the functions of the others.
CScriptedNative::~CScriptedNative() {
    threads.Join();
}

void CScriptedNative::Remove(const std::string& function) {
    const Native::NativeTable table = Native::AllNativeFunctions();
    for (std::size_t i = 0; i < table.count; ++i) {
        if (function == table.entries[i].name) {
            table.entries[i].storeFallback(functions_);
            return;
        }
    }
    throw std::invalid_argument("there is no function " + function);
}

void CScriptedNative::Fail(const std::string& function, unsigned times, unsigned after,
                           NtApi::NtStatus status) {
    calls_.Fail(function, times, after, status);
}

std::size_t CScriptedNative::CountLive() const {
    return objects_.Count() + threads.OpenHandles() + locks_.CountHeld();
}

}  // namespace Kyr::Test
