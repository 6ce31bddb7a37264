// The protection status of a product as the status log that the host knows. Threads: any.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "connector/channel/ProtectionStatusRecord.h"
#include "logs/StatusLog.h"

namespace Kyr::Connectors::Common::Tasks {

/// Whose status it is, and when.
struct StatusReporter {
    std::string instanceUuid;
    std::uint64_t productId;
    std::int32_t productType;
    boost::shared_ptr<Base::IClock> clock;
};

/// A read-only status log ready to be published: a row for each record that tells of a problem, or
/// one row that says that all is well. Throws std::runtime_error when the instance is not a UUID.
boost::shared_ptr<Kyr::Common::Message::Logs::CStatusLog> MakeProtectionStatusLog(
    const std::vector<CProtectionStatusRecord>& records, const StatusReporter& reporter);

}  // namespace Kyr::Connectors::Common::Tasks
