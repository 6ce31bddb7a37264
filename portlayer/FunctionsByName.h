// The client functions under the names that the system exports, for whoever looks functions up by
// name as one does in the system's libraries.
//
// Threads: any; nothing changes.
#pragma once

namespace Kyr::PortLayer {

/// A function of unknown type; cast back to its own type before it is called.
using GenericFunction = void (*)();

/// Null when the layer has no function of this name. Names are unique across the system's
/// libraries.
GenericFunction FindFunctionByName(const char* name);

}  // namespace Kyr::PortLayer
