#include <stdexcept>
#include <string>

#include "lab/simagent/Registration.h"
#include "portlayer/RunFiles.h"

namespace Kyr::Lab::SimAgent {

namespace {

class CRunFileRegistration final : public IRegistration {
  public:
    void Install(std::int32_t build) override {
        if (NtApi::IsError(
                PortLayer::WriteRunFile(PortLayer::kProductBuildFile, std::to_string(build)))) {
            throw std::runtime_error("cannot write to the run directory");
        }
    }

    void Uninstall() override {
        const NtApi::NtStatus status = PortLayer::RemoveRunFile(PortLayer::kProductBuildFile);
        if (NtApi::IsError(status) && status != NtApi::kStatusObjectNameNotFound) {
            throw std::runtime_error("cannot write to the run directory");
        }
    }
};

}  // namespace

std::unique_ptr<IRegistration> SystemRegistration() {
    return std::make_unique<CRunFileRegistration>();
}

}  // namespace Kyr::Lab::SimAgent
