// Where the names of ports, mutexes and sections lead on Windows.
//
// Processes that set KELCOMM_RUNTIME_DIR to the same text share a name space of their own, apart
// from everybody else's: installations and tests run beside each other. Without it names are the
// system's as they stand.
// Threads: any. The variable is looked up anew for every name.
#pragma once

#include <cstdint>
#include <string>

#include "ntapi/Status.h"
#include "ntapi/Types.h"

namespace Kyr::PortLayer::Detail {

/// "\BaseNamedObjects\Name", "Global\Name", "Local\Name" and "Name" are one port, and letters of
/// either case are the same. kStatusObjectNameInvalid when the name is empty, not ASCII, or too
/// long.
NtApi::NtStatus PortNameOf(const NtApi::UnicodeString& name, std::wstring& port);
/// The pipe that a port stands for, and the object that tells whether the port's name is taken.
std::wstring PipeName(const std::wstring& port);
std::wstring PipeClaimName(const std::wstring& port);

/// The name of a mutex or section in this process's name space: "Global\" and the like stay where
/// they are, in front.
std::wstring ObjectNameOf(const char16_t* name);
/// The name of the section behind the number that a packet tells.
std::wstring SectionName(std::uint64_t number);

}  // namespace Kyr::PortLayer::Detail
