// Fields of a protobuf message, as the encoding has them.
//
// Threads: any. Errors: none; what is wrong stands in the layout.
#pragma once

#include <cstdint>
#include <vector>

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

enum class ProtobufKind { kNumber, kText, kBytes, kMessage };

struct ProtobufName {
    std::uint32_t number;
    const char* name;
    ProtobufKind kind;
};

/// All that remains. A field of another kind than it must be is told; one without a name is not
/// wrong: those who do not know it keep it.
void DecodeProtobuf(CFieldReader& reader, const std::vector<ProtobufName>& names);

}  // namespace Kyr::Probe
