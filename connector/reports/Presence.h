// The status logs that tell the server of agent and product: that they are there, or that the
// connector does nothing for the product.
//
// Each is read-only and ready to be published.
// Threads: any. Errors: std::runtime_error "invalid uuid string" when the reporter's instance is
// not a UUID.
#pragma once

#include <cstdint>

#include <boost/shared_ptr.hpp>

#include "connector/reports/Reporter.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"

namespace Kyr::Connectors::Common {

/// Type 10292, one row: this agent instance serves the product.
boost::shared_ptr<Kyr::Common::Message::Logs::CStatusLog> MakeAgentPresence(
    const Reporter& reporter);

/// Type 10405, one row: the product `presentProduct` is there. The server knows it by another
/// number here than the reporter's logs name it by.
boost::shared_ptr<Kyr::Common::Message::Logs::CMultiProductStatusLog> MakeProductPresence(
    const Reporter& reporter, std::uint64_t presentProduct);

/// Type 10405, no row: the connector was deactivated, there is nothing to tell of the product.
boost::shared_ptr<Kyr::Common::Message::Logs::CMultiProductStatusLog> MakeDeactivatedStatus(
    std::uint64_t absentProduct, const boost::shared_ptr<Base::IClock>& clock);

}  // namespace Kyr::Connectors::Common
