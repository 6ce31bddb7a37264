#include <stdexcept>

#include "lab/devhost/Ports.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"

namespace Kyr::Lab::DevHost {

void TakePortsFromLayer(const std::string&) {
    throw std::runtime_error("--port-layer is for Windows: here the library has no other ports");
}

std::string RunDirectoryProblem() {
    // Nobody writes such a file: whatever is not its absence is the directory's fault.
    std::string text;
    const NtApi::NtStatus status = PortLayer::ReadRunFile("devhost", text);
    return status == NtApi::kStatusObjectNameNotFound ? "" : PortLayer::LastFailure();
}

}  // namespace Kyr::Lab::DevHost
