// The outcome of one task that the product carried out, as a task-status reply carries it.
//
// A plain value.
#pragma once

#include <cstdint>
#include <string>

#include "host/proto/common.pb.h"

namespace Kyr::Connectors::Common {

struct CTaskStatusRecord {
    using Uuid = Kyr::Common::DataDefinition::Common::Uuid;

    /// The identifiers of the task message as its outcome event carries them: the first, the third
    /// and the second one. Their texts are not checked.
    Uuid firstIdentifier;
    Uuid secondIdentifier;
    Uuid thirdIdentifier;
    /// The resource id of the outcome's text.
    std::uint64_t code = 0;
    /// Empty unless the task failed.
    std::string description;
    std::int32_t severity = 0;
    std::int32_t status = 0;
};

}  // namespace Kyr::Connectors::Common
