#include <stdexcept>

#include "lab/devhost/PortPatch.h"

namespace Kyr::Lab::DevHost {

void TakePortsFromLayer(const std::string&) {
    throw std::runtime_error("--port-layer is for Windows: here the library has no other ports");
}

}  // namespace Kyr::Lab::DevHost
