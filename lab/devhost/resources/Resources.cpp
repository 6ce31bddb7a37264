#include "lab/devhost/resources/Resources.h"

#include <utility>

namespace Kyr::Lab::DevHost {

CInstallConfiguration::CInstallConfiguration(std::string instanceUuid)
    : instanceUuid_(std::move(instanceUuid)) {}
CInstallConfiguration::~CInstallConfiguration() = default;
std::string CInstallConfiguration::GetInstanceUUID() const {
    return instanceUuid_;
}

CIdGenerator::~CIdGenerator() = default;
std::uint32_t CIdGenerator::GenerateId() {
    return ++last_;
}

CConfiguration::~CConfiguration() = default;
CNetworkGrpc::~CNetworkGrpc() = default;

CResourceProvider::CResourceProvider(LineSink events) : events_(std::move(events)) {}
CResourceProvider::~CResourceProvider() = default;

void CResourceProvider::Add(int number, boost::shared_ptr<Common::Kernel::IResource> resource) {
    resources_[number] = std::move(resource);
}

boost::shared_ptr<Common::Kernel::IResource> CResourceProvider::GetResource(int number) {
    const auto found = resources_.find(number);
    events_(CLine("resource")
                .With("number", std::to_string(number))
                .With("given", found == resources_.end() ? "no" : "yes"));
    return found == resources_.end() ? boost::shared_ptr<Common::Kernel::IResource>()
                                     : found->second;
}

}  // namespace Kyr::Lab::DevHost
