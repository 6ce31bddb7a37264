// The symbols in the logs of this system: the host's number for each value of a row, a scope a log.
// What the rows of each log must hold stands in LogDescriptorTable.cpp, what the values mean in
// host/Catalogue.h. Makers of logs take the numbers from here; the lab prints them with the table's
// names.
#pragma once

#include <cstdint>

namespace Kyr::Common::Logs::Symbols {

/// How the product is: one row for each thing that it reports.
namespace ProtectionStatus {
constexpr std::int32_t kInstance = 235;
constexpr std::int32_t kSeverity = 241;
constexpr std::int32_t kTime = 242;
constexpr std::int32_t kProductType = 244;
constexpr std::int32_t kProduct = 245;
constexpr std::int32_t kCategory = 246;
constexpr std::int32_t kStatusText = 247;
constexpr std::int32_t kStatus = 248;
constexpr std::int32_t kDescription = 4298;
}  // namespace ProtectionStatus

/// That the agent instance is there.
namespace AgentPresence {
constexpr std::int32_t kInstance = 2141;
constexpr std::int32_t kPresence = 2143;
constexpr std::int32_t kTime = 2144;
constexpr std::int32_t k2146 = 2146;  // what these two mean is known to the host only
constexpr std::int32_t k2147 = 2147;
}  // namespace AgentPresence

/// That the product is there, told side by side with others of its computer.
namespace ProductPresence {
constexpr std::int32_t kInstance = 3552;
constexpr std::int32_t kPresence = 3554;
constexpr std::int32_t kTime = 3555;
constexpr std::int32_t kProductType = 3559;
constexpr std::int32_t kProductName = 3560;
constexpr std::int32_t kProduct = 4429;
}  // namespace ProductPresence

/// The outcome of a task.
namespace Task {
constexpr std::int32_t kInstance = 2834;
constexpr std::int32_t kStatus = 2836;
constexpr std::int32_t kTime = 2838;
constexpr std::int32_t kFirstIdentifier = 2842;
constexpr std::int32_t kSecondIdentifier = 2844;
constexpr std::int32_t kThirdIdentifier = 2846;
constexpr std::int32_t kOutcome = 2848;
constexpr std::int32_t kSeverity = 2850;
constexpr std::int32_t kProduct = 2853;
constexpr std::int32_t kDescription = 2913;
}  // namespace Task

/// The product's own configuration, as it was exported.
namespace ProductConfiguration {
constexpr std::int32_t kInstance = 1886;
constexpr std::int32_t kStatus = 1888;
constexpr std::int32_t kTime = 1889;
constexpr std::int32_t kProduct = 1891;
constexpr std::int32_t kConfiguration = 1892;
}  // namespace ProductConfiguration

}  // namespace Kyr::Common::Logs::Symbols
