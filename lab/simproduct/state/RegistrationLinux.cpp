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

[[noreturn]] void Fail(NtApi::NtStatus status) {
    throw std::runtime_error("cannot write to the run directory: status " + StatusText(status) +
                             ": " + PortLayer::LastFailure());
}

class CRunFileRegistration final : public IRegistration {
  public:
    void Install(std::int32_t build) override {
        const NtApi::NtStatus status = PortLayer::WriteRunFile(kBuildFile, std::to_string(build));
        if (NtApi::IsError(status)) {
            Fail(status);
        }
    }

    void Uninstall() override {
        const NtApi::NtStatus status = PortLayer::RemoveRunFile(kBuildFile);
        if (NtApi::IsError(status) && status != NtApi::kStatusObjectNameNotFound) {
            Fail(status);
        }
    }
};

}  // namespace

std::unique_ptr<IRegistration> SystemRegistration() {
    return std::make_unique<CRunFileRegistration>();
}

}  // namespace Kyr::Lab::SimProduct
