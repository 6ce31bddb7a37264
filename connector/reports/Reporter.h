// Who tells the server something: what every report says of its sender. A plain value.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"

namespace Kyr::Connectors::Common {

struct Reporter {
    std::string instanceUuid;               // the agent's instance
    boost::shared_ptr<Base::IClock> clock;  // the time of the report; never empty
    std::uint64_t productId = 0;            // the product that it is about, as logs name it
    std::int32_t productType = 0;           // told by status logs only
};

}  // namespace Kyr::Connectors::Common
