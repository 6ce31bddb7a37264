// What differs between the systems that the probe runs on.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>
#include <string>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Probe {

using NativeLookup = Connectors::Common::Kelcomm::Native::GenericFunction (*)(
    Connectors::Common::Kelcomm::Native::NativeLibrary, const char*);

/// Whether ports can be had from two places: the system itself and the port layer in this program.
bool HasTwoKindsOfPorts();

/// How native functions are found; `portLayer`: in the layer first, where there are two places.
NativeLookup LookupOf(bool portLayer);

/// Whether every function of that library is expected here.
bool IsExpected(Connectors::Common::Kelcomm::Native::NativeLibrary library);

/// Where the names of ports and area are looked for, for people. Empty: in the system's own name
/// space.
std::string PlaceOfNames();
/// Whether it is yet to be made, or another one was meant.
bool IsPlaceMissing();
/// Where the product's value "build" stands, for people.
std::string PlaceOfBuild();
/// Why nobody can use that place; empty when it can be used, or is yet to be made.
std::string PlaceProblem();

/// The name of the program that the process runs; empty when the system does not tell.
std::string ProgramOf(std::uint32_t processId);

/// Makes an empty file that its owner alone may read. False when it is there already, or cannot be
/// made.
bool MakePrivateFile(const std::string& path);

/// Bytes go to standard output, and come from standard input, as they are.
void UseBinaryOutput();
void UseBinaryInput();

}  // namespace Kyr::Probe
