// The status logs by which the module tells the host how it stands with the product.
//
// Each is a log of one row, complete and read-only. The numbers in the rows that no name explains
// are the host's own.
// Threads: any. Errors: std::runtime_error "invalid uuid string" when the instance identifier is
// none.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "host/kernel/IMessage.h"

namespace Kyr::Connectors::OvAgentConnector {

/// What all of them tell of their sender.
struct CLogOrigin {
    std::string instanceUuid;
    boost::shared_ptr<Base::IClock> clock;  // the time of the row
};

using LogPointer = boost::shared_ptr<Kyr::Common::Kernel::IMessage>;

/// Type 10292: the agent serves the product.
LogPointer MakeAgentPresence(const CLogOrigin& origin);
/// Type 10405: the product `productId` is there.
LogPointer MakeProductPresence(const CLogOrigin& origin, std::uint64_t productId);
/// Type 10044: connected, all is well.
LogPointer MakeConnectedStatus(const CLogOrigin& origin);
/// Type 10044: the connection could not be made.
LogPointer MakeConnectFailureStatus(const CLogOrigin& origin);

}  // namespace Kyr::Connectors::OvAgentConnector
