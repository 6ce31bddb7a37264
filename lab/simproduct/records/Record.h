// A record of the product, its bytes in a reply, and the kinds of lists that it keeps.
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

/// What goes out of it: the text, or an action with its type and the text.
std::string BytesOf(RecordKind kind, ProductRecord record);

}  // namespace Kyr::Lab::SimProduct
