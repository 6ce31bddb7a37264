#include "connector/GenericModule.h"

#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

namespace Kyr::Common::Module {

namespace {

template <typename Resource>
void Obtain(Kernel::IResourceProvider& provider, int number, const char* interfaceName,
            boost::shared_ptr<Resource>& resource) {
    resource = boost::dynamic_pointer_cast<Resource>(provider.GetResource(number));
    if (!resource) {
        throw std::runtime_error(std::string("Bad cast to ") + interfaceName);
    }
}

}  // namespace

CGenericModule::CGenericModule() = default;
CGenericModule::~CGenericModule() = default;

void CGenericModule::Initialize(Kernel::IResourceProvider& provider) {
    Obtain(provider, Kernel::kBusResource, "Kyr::Common::Kernel::IBusResource", bus_);
    Obtain(provider, Kernel::kInstallConfigurationResource,
           "Kyr::Common::Kernel::IInstallConfigurationResource", installConfiguration_);
    Obtain(provider, Kernel::kLoggerResource, "Kyr::Common::Kernel::ILoggerResource", logger_);
    Obtain(provider, Kernel::kIdGeneratorResource, "Kyr::Common::Kernel::IIdGeneratorResource",
           idGenerator_);
    Obtain(provider, Kernel::kConfigurationResource, "Kyr::Common::Kernel::IConfigurationResource",
           configuration_);
    replyProcessor_ = boost::make_shared<CReplyProcessor>(bus_, idGenerator_);
}

}  // namespace Kyr::Common::Module
