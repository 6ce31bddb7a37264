// What doctor finds, one check a line.
//
// Values. No text holds what a record, a policy, a key or a log line holds: only what is ours to
// say, names of keys, numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::Probe {

enum class Verdict { kFine, kDoubtful, kWrong };

const char* NameOf(Verdict verdict);

struct Check {
    Verdict verdict = Verdict::kFine;
    std::string name;
    std::string why;   // what was found, and why it is worth that verdict
    std::string next;  // what to do about it; empty: nothing
};

using Checks = std::vector<Check>;

/// What the host has stored, as far as it can be read.
struct StoredValues {
    // Positions; 0 for those that are no number.
    std::uint64_t indicators = 0;
    std::uint64_t telemetry = 0;
    std::uint64_t actions = 0;
    /// Whether the policy switches remediation actions on; empty: nothing was read.
    std::optional<bool> actionsEnabled;
};

}  // namespace Kyr::Probe
