#include "lab/simproduct/records/Record.h"

#include <utility>

#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Numbers of fields: protocol, except for the text of an action. To everyone but the product an
// action is opaque beyond its type, and must come through whole all the same.
constexpr std::uint32_t kActionTypeField = 1;
constexpr std::uint32_t kActionTextField = 2;

}  // namespace

std::string BytesOf(RecordKind kind, ProductRecord record) {
    if (kind != RecordKind::kAction) {
        return std::move(record.text);
    }
    CWireWriter writer;
    // A negative type is written as the 64-bit number that it widens to.
    writer.AddInteger(kActionTypeField, static_cast<std::uint64_t>(std::int64_t{record.actionType}))
        .AddBytes(kActionTextField, record.text);
    return {writer.Written().begin(), writer.Written().end()};
}

}  // namespace Kyr::Lab::SimProduct
