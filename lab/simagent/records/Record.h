// A record of the product, and the kinds of lists that it keeps.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kyr::Lab::SimAgent {

enum class RecordKind { Indicator, Telemetry, Action };

constexpr std::array<RecordKind, 3> kRecordKinds = {RecordKind::Indicator, RecordKind::Telemetry,
                                                    RecordKind::Action};

constexpr const char* NameOf(RecordKind kind) {
    return kind == RecordKind::Indicator   ? "indicator"
           : kind == RecordKind::Telemetry ? "telemetry"
                                           : "action";
}

constexpr std::optional<RecordKind> FindRecordKind(std::string_view name) {
    for (const RecordKind kind : kRecordKinds) {
        if (name == NameOf(kind)) {
            return kind;
        }
    }
    return std::nullopt;
}

/// The action type of a block action (protocol).
constexpr std::int32_t kBlockAction = 3;

struct CRecord {
    std::string text;
    std::int32_t actionType = 0;  // of an action only
};

}  // namespace Kyr::Lab::SimAgent
