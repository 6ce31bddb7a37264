// The first points: what the provider hands out under the connector's numbers, whether it is of the
// right type, and whether the operations stand where the connector calls them.
//
// Threads: the host's, while it initialises the module.
// Errors: what the provider throws becomes a point that is wrong.
#pragma once

#include "host/database/IMapper.h"
#include "host/kernel/Resources.h"
#include "hostprobe/Report.h"

namespace Kyr::HostProbe {

/// What was found usable; the rest is empty.
struct HostResources {
    boost::shared_ptr<Common::Kernel::IBusResource> bus;
    boost::shared_ptr<Common::Kernel::ILoggerResource> log;
    boost::shared_ptr<Common::Database::IKeyValueAccessMapper> keyValues;
    boost::shared_ptr<Common::Database::IOvRemediationActionsMapper> actions;
};

/// Tells of each resource, and makes the report use the host's log.
HostResources CheckResources(Common::Kernel::IResourceProvider& provider, CReport& report);

}  // namespace Kyr::HostProbe
