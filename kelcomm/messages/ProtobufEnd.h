// Tells how a protobuf payload that the runtime could not parse goes wrong: bytes that are missing
// at its end, or bytes that are no protobuf. The runtime itself says only that it failed.
//
// Looks at the fields of the outermost message alone; it knows none of them.
// Threads: any. Errors: none.
#pragma once

#include <string_view>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// True when `payload` ends inside a field and more bytes could have made it whole. What is no
/// protobuf whatever follows does not end early.
bool EndsEarly(std::string_view payload);

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
