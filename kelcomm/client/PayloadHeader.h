// The header that request and reply of the product's command 3 begin with: three little-endian
// words, of which the first is the header's own size. The body follows at once.
//
//   request  12, marker, command   written by messages/CommandHeader.h
//   reply    12, status, value     judged by the channel, then read by messages/ReplyReader.h
//
// It stands here because the channel and the messages know it, and not each other.
#pragma once

#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

constexpr std::uint32_t kPayloadHeaderSize = 12;

}  // namespace Kyr::Connectors::Common::Kelcomm
