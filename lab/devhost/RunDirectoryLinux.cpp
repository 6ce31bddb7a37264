#include "lab/devhost/RunDirectory.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"

namespace Kyr::Lab::DevHost {

std::string RunDirectoryProblem() {
    // Nobody writes such a file: whatever is not its absence is the directory's fault.
    std::string text;
    const NtApi::NtStatus status = PortLayer::ReadRunFile("devhost", text);
    return status == NtApi::kStatusObjectNameNotFound ? "" : PortLayer::LastFailure();
}

}  // namespace Kyr::Lab::DevHost
