#include "connector/tasks/PolicyBlob.h"

#include <algorithm>
#include <new>
#include <utility>
#include <zlib.h>

#include "host/proto/common.pb.h"
#include "host/proto/policy.pb.h"

namespace Kyr::Connectors::Common::Tasks {

using Kyr::Common::DataDefinition::Common::CompressedBlob;
using Kyr::Common::DataDefinition::Policy::PolicyData;

namespace {

// The format's: no more bytes than this come out of one that goes in.
constexpr std::uint64_t kLargestRatio = 1032;

void Add(std::string& damage, const std::string& what) {
    damage += (damage.empty() ? "" : ", ") + what;
}

struct Inflated {
    std::string bytes;  // as long as was stated, filled up with zeros
    bool tooLarge = false;
};

/// Inflates what is in `compressed`; `sourceLength` is what the inflating is told of its length.
Inflated Inflate(CompressedBlob& compressed, std::size_t sourceLength, std::string& damage) {
    std::string& source = *compressed.mutable_compressed_data();
    const std::uint64_t stated = compressed.uncompressed_length();
    // The told length is that of the whole blob. A sound stream ends before it matters; for one
    // that does not, there must be bytes to read.
    source.resize(std::max(source.size(), sourceLength));
    const std::uint64_t room = std::min({stated, source.size() * kLargestRatio, kLargestPolicy});

    Inflated inflated;
    inflated.bytes.resize(static_cast<std::size_t>(room));
    auto length = static_cast<uLongf>(room);
    const int result =
        uncompress(reinterpret_cast<Bytef*>(inflated.bytes.data()), &length,
                   reinterpret_cast<const Bytef*>(source.data()), static_cast<uLong>(sourceLength));
    if (result == Z_MEM_ERROR) {
        throw std::bad_alloc();  // nothing is wrong with the policy
    }
    inflated.tooLarge = result == Z_BUF_ERROR && room == kLargestPolicy && room < stated;
    if (inflated.tooLarge) {
        return inflated;
    }
    if (result != Z_OK) {
        Add(damage, "does not inflate to " + std::to_string(room) + " bytes (zlib " +
                        std::to_string(result) + ")");
    } else if (length != stated) {
        Add(damage, std::to_string(length) + " bytes instead of " + std::to_string(stated));
    }
    return inflated;
}

}  // namespace

PolicyText ReadPolicyBlob(const std::string& blob) {
    PolicyText policy;
    CompressedBlob compressed;
    if (!compressed.ParseFromString(blob)) {
        Add(policy.damage, "not a compressed blob");
    }
    const Inflated inflated = Inflate(compressed, blob.size(), policy.damage);
    if (inflated.tooLarge) {
        return policy;
    }
    PolicyData data;
    if (!data.ParseFromString(inflated.bytes)) {
        Add(policy.damage, "content does not parse");
    }
    policy.text = std::move(*data.mutable_policy_text());
    return policy;
}

}  // namespace Kyr::Connectors::Common::Tasks
