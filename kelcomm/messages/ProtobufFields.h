// Looks over the fields of a protobuf payload without reading them: for what the runtime does not
// tell, and for what it would take.
//
// The runtime says only that it failed: not whether bytes are missing at the end, or are no
// protobuf. And it makes an object of a hundred bytes for each field, however short that is.
// Threads: any. Errors: none.
#pragma once

#include <cstddef>
#include <string_view>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// True when `payload` ends inside a field and more bytes could have made it whole. What is no
/// protobuf whatever follows does not end early.
bool EndsEarly(std::string_view payload);

/// What field 1 of a payload holds: opaque text, or messages, whose own fields count, too.
enum class Records { kTexts, kMessages };

/// `payload` up to the end of the last of its fields that goes into `limit` fields; all of it when
/// there are no more of them, or when it is malformed before.
std::string_view FirstFields(std::string_view payload, Records records, std::size_t limit);

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
