// Policies of any size, packed as the host packs them.
#pragma once

#include <cstdint>
#include <string>
#include <zlib.h>

#include "host/proto/common.pb.h"
#include "host/proto/policy.pb.h"

namespace Kyr::Test {

inline std::string BlobOf(std::uint64_t stated, const std::string& compressed) {
    Common::DataDefinition::Common::CompressedBlob blob;
    blob.set_uncompressed_length(stated);
    blob.set_compressed_data(compressed);
    return blob.SerializeAsString();
}

/// Compressed as much as can be.
inline std::string Packed(const std::string& text) {
    Common::DataDefinition::Policy::PolicyData policy;
    policy.set_policy_text(text);
    const std::string content = policy.SerializeAsString();
    uLongf length = compressBound(static_cast<uLong>(content.size()));
    std::string compressed(length, '\0');
    compress2(reinterpret_cast<Bytef*>(compressed.data()), &length,
              reinterpret_cast<const Bytef*>(content.data()), static_cast<uLong>(content.size()),
              9);
    compressed.resize(length);
    return BlobOf(content.size(), compressed);
}

}  // namespace Kyr::Test
