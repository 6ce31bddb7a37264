// The product's registration, as the connector reads it, and what its build switches on there.
//
// Threads: any. Errors: none; what is wrong stands in the value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Kyr::Probe {

struct Registration {
    std::optional<std::int64_t> build;
    /// Why the library cannot read it; empty when it can, also when there is none.
    std::string problem;

    bool IsThere() const { return build.has_value() || !problem.empty(); }
};

Registration ReadRegistration();

// From which build on the connector asks for such records.
constexpr std::int64_t kFirstBuildWithIndicators = 5058;
constexpr std::int64_t kFirstBuildWithTelemetry = 5543;

}  // namespace Kyr::Probe
