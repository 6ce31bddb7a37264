// The event log that carries a product's configuration to the server.
//
// Threads: any. Errors: std::runtime_error "invalid uuid string" when the reporter's instance is
// not a UUID.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "connector/reports/Reporter.h"
#include "logs/EventLog.h"

namespace Kyr::Connectors::Common {

/// Type 10244, read-only and ready to be published. The configuration is any bytes.
boost::shared_ptr<Kyr::Common::Message::Logs::CEventLog> MakeConfigurationEvent(
    const std::string& configuration, const Reporter& reporter);

}  // namespace Kyr::Connectors::Common
