// The protection status of a product as a status log (type 10044): what it says of itself, or that
// it could not be asked.
//
// Each log is read-only and ready to be published.
// Threads: any. Errors: std::runtime_error "invalid uuid string" when the reporter's instance is
// not a UUID.
#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>

#include "connector/channel/ProtectionStatusRecord.h"
#include "connector/reports/Reporter.h"
#include "logs/StatusLog.h"

namespace Kyr::Connectors::Common {

/// A row for each record that tells of a problem, or one row that says that all is well.
boost::shared_ptr<Kyr::Common::Message::Logs::CStatusLog> MakeProtectionStatus(
    const std::vector<CProtectionStatusRecord>& records, const Reporter& reporter);

/// Connected, and nothing known against it: one row that says that all is well.
boost::shared_ptr<Kyr::Common::Message::Logs::CStatusLog> MakeConnectedStatus(
    const Reporter& reporter);

/// One row: the connection could not be made.
boost::shared_ptr<Kyr::Common::Message::Logs::CStatusLog> MakeConnectFailureStatus(
    const Reporter& reporter);

}  // namespace Kyr::Connectors::Common
