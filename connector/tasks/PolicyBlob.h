// The policy text in a policy message: a protobuf message that is compressed inside another one.
//
// Errors: a damaged blob throws nothing; it gives what can be read of it, and the
// damage in words. A want of memory is std::bad_alloc, inside the inflating, too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Kyr::Connectors::Common::Tasks {

/// Our own limit for what a policy inflates to: several copies of it, as many as the way to the
/// product takes, still fit a 32-bit process.
constexpr std::uint64_t kLargestPolicy = std::uint64_t{64} << 20;

struct PolicyText {
    /// What the product is to be given: as much as can be read, nothing perhaps. Absent when the
    /// policy is larger than kLargestPolicy.
    std::optional<std::string> text;
    /// What is wrong with the blob, for a line of the log; empty when nothing is, or when the
    /// policy is only too large.
    std::string damage;
};

/// Reads the policy text out of `blob`, a serialized CompressedBlob of a PolicyData.
///
/// Deliberate: no step looks at whether the one before it found damage. The memory that this takes
/// is bounded by what the compressed bytes can hold and by kLargestPolicy, whatever length the blob
/// states.
PolicyText ReadPolicyBlob(const std::string& blob);

}  // namespace Kyr::Connectors::Common::Tasks
