// Where library and product meet: the ports that the library takes, and why nobody can use the
// place of the layer's.
#pragma once

#include <string>

namespace Kyr::Lab::DevHost {

/// Makes the loaded module library take the native functions that it looks up by name from the port
/// layer in this program, where the layer has them, and from the system otherwise.
///
/// For systems whose own ports nobody can serve: Wine has none, and a developer's Windows has no
/// product. The library itself knows nothing of it and stays as it was released: only the word is
/// written over in which its copy in this process keeps the address of GetProcAddress.
///
/// Lasts until the process ends. REQUIRES: the library is loaded, and nothing of it has run.
/// Errors: std::runtime_error; then nothing is changed. On Linux always, since the library is built
/// on the layer there.
void TakePortsFromLayer(const std::string& libraryPath);

/// Path and reason, of which the library that cannot initialize then tells a status only; empty
/// when the directory can be used, or is yet to be made by the product that comes first. On
/// Windows, where there is none, always empty. Threads: any.
std::string RunDirectoryProblem();

}  // namespace Kyr::Lab::DevHost
