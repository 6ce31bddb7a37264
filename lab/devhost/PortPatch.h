// Makes a loaded module library take the native functions that it looks up by name from the port
// layer in this program, where the layer has them, and from the system otherwise.
//
// For systems whose own ports nobody can serve: Wine has none, and a developer's Windows has no
// product. The library itself knows nothing of it and stays as it was released: only the word is
// written over in which its copy in this process keeps the address of GetProcAddress.
//
// Threads: call it before anything of the library runs. Lasts until the process ends.
// Errors: std::runtime_error; then nothing is changed. On Linux always, since the library is built
// on the layer there.
#pragma once

#include <string>

namespace Kyr::Lab::DevHost {

/// REQUIRES: the library is loaded.
void TakePortsFromLayer(const std::string& libraryPath);

}  // namespace Kyr::Lab::DevHost
