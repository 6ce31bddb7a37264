#include <stdexcept>
#include <string>

#include "lab/simproduct/requests/StatusText.h"
#include "lab/simproduct/state/Registration.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// The registry value "build" elsewhere, in decimal.
constexpr char kBuildFile[] = "ovanta-agent-build";

void RequireSuccess(NtApi::NtStatus status) {
    if (NtApi::IsError(status)) {
        throw std::runtime_error("cannot write to the run directory: status " + StatusText(status) +
                                 ": " + PortLayer::LastFailure());
    }
}

}  // namespace

void Install(std::int32_t build) {
    RequireSuccess(PortLayer::WriteRunFile(kBuildFile, std::to_string(build)));
}

void Uninstall() {
    const NtApi::NtStatus status = PortLayer::RemoveRunFile(kBuildFile);
    if (status != NtApi::kStatusObjectNameNotFound) {
        RequireSuccess(status);
    }
}

}  // namespace Kyr::Lab::SimProduct
