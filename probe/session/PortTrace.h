// The native table with a witness: what the system answered when a client last used a port. The
// clients themselves tell a code that says as much as "it failed".
//
// Threads: any. Process-wide, since native functions carry no context: one session at a time.
// Errors: none.
#pragma once

#include <cstdint>

#include "kelcomm/native/NativeFunctions.h"
#include "ntapi/Status.h"

namespace Kyr::Probe {

enum class Port { kAdvanced, kLegacy };

/// For people: "advanced port".
const char* NameOf(Port port);

struct PortTrace {
    bool wasTried = false;
    /// Of the last attempt to connect.
    NtApi::NtStatus connect = NtApi::kStatusSuccess;
    bool wasConnected = false;  // ever
    /// Of the last exchange.
    NtApi::NtStatus exchange = NtApi::kStatusSuccess;
    bool wasAnswered = false;  // ever
    /// Who has answered last, as the system says; 0: nobody.
    std::uint32_t serverProcess = 0;

    /// Whether the last that was tried has failed in the system.
    bool HasFailed() const {
        return wasTried && (NtApi::IsError(connect) || NtApi::IsError(exchange));
    }
};

/// The system's functions, or the port layer's, which note what they answer. The same table for the
/// life of the process: the first call decides.
const Connectors::Common::Kelcomm::Native::NativeFunctions& WitnessedNativeFunctions(
    bool portLayer);

PortTrace TraceOf(Port port);
/// Of the port that was connected or spoken to last: a channel stays with the one that it has
/// found.
PortTrace LatestTrace();
void ForgetTraces();

}  // namespace Kyr::Probe
