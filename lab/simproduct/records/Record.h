// A record of the product, and the kinds of lists that it keeps.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kyr::Lab::SimProduct {

enum class RecordKind { kIndicator, kTelemetry, kAction };

constexpr std::array<RecordKind, 3> kRecordKinds = {RecordKind::kIndicator, RecordKind::kTelemetry,
                                                    RecordKind::kAction};

constexpr const char* NameOf(RecordKind kind) {
    return kind == RecordKind::kIndicator   ? "indicator"
           : kind == RecordKind::kTelemetry ? "telemetry"
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

struct ProductRecord {
    std::string text;
    std::int32_t actionType = 0;  // of an action only
};

}  // namespace Kyr::Lab::SimProduct
