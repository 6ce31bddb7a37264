// Feeds one input to a response as the reply of the product.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace Kyr::Fuzz {

/// The response after it has read the input, or refused it in the documented way: short replies,
/// malformed text and missing paths are std::runtime_error.
template <typename Response>
Response ReadReply(const std::uint8_t* data, std::size_t size) {
    Response response;
    try {
        response.Deserialize(std::vector<unsigned char>(data, data + size));
    } catch (const std::runtime_error&) {
        // Refused.
    }
    return response;
}

}  // namespace Kyr::Fuzz
