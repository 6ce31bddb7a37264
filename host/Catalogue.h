// The numbers that logs carry as values: which product is meant, how it is, what became of a task.
// Host and management server know what they stand for.
//
// A std::uint64_t is a resource id: a product, or a text that the server looks up for people;
// kNoStatus is the one that means none. The others are codes. What no name explains is known to the
// host only. The columns that hold them are in host/logs/Symbols.h.
#pragma once

#include <cstdint>

namespace Kyr::Common::Catalogue {

/// Which product a log is about.
namespace Product {
constexpr std::uint64_t kOvAgent = 0x07100000000007AA;        // whose presence is told
constexpr std::uint64_t kOvAgentInLogs = 0x07100000000005E2;  // as all other logs name it
/// The two parts of its name.
constexpr char kDomain[] = "tulk.local.products.";
constexpr char kOvAgentName[] = "ov.agent";
}  // namespace Product

/// What kind of product it is, in rows and in requests.
namespace ProductType {
constexpr std::int32_t kOvAgent = 17;
/// In requests for a configuration: those that mean the Ov agent.
constexpr std::int32_t kConfiguredOvAgent[] = {0, 9};
}  // namespace ProductType

/// The presence of an agent instance and of products.
namespace Presence {
constexpr std::int32_t kAgentPresent = 1;
constexpr std::int32_t kProductPresent = 6;
constexpr std::int64_t kAgent2146 = 8;
constexpr std::int64_t kAgent2147 = 64;
}  // namespace Presence

/// The status of a configuration that is told.
namespace Configuration {
constexpr std::int32_t kExported = 1;
}  // namespace Configuration

/// The protection status of a product, from fine to worst: the severity and the text for each.
namespace Protection {
constexpr std::int32_t kFineSeverity = 1;
constexpr std::int32_t kWarningSeverity = 3;
constexpr std::int32_t kProblemSeverity = 5;
constexpr std::int32_t kNotConnectedSeverity = 6;
constexpr std::uint64_t kFineText = 0x071000000000021E;
constexpr std::uint64_t kWarningText = 0x071000000000021F;
constexpr std::uint64_t kProblemText = 0x0710000000000220;
constexpr std::uint64_t kNotConnectedText = 0x0710000000000221;
constexpr std::uint64_t kWholeProduct = 0x071000000000022B;  // the category
constexpr std::uint64_t kNoStatus = 0xFFFFFFFFFFFFFFFF;
constexpr std::uint64_t kConnectionFailed = 0x00000001000000B3;  // the status
}  // namespace Protection

/// What became of a task: whether it failed, how grave that is, and the text that says it.
namespace Task {
constexpr std::int32_t kNotFailed = 1;
constexpr std::int32_t kFailed = 4;
constexpr std::int32_t kWarningSeverity = 20;
constexpr std::int32_t kInformationSeverity = 30;
constexpr std::int32_t kErrorSeverity = 40;
constexpr std::uint64_t kWarningText = 0x000000010000000A;
constexpr std::uint64_t kDoneText = 0x000000010000000B;
constexpr std::uint64_t kFailedText = 0x000000010000000C;
constexpr std::uint64_t kCancelledText = 0x000000010000009B;
}  // namespace Task

}  // namespace Kyr::Common::Catalogue
