// What the host hands the connector or keeps for it: a policy, a row of symbols.
//
// Threads: any. Errors: none; what is wrong stands in the layout.
#pragma once

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

/// The blob of a policy message, with what the product would be given of it.
void DecodePolicy(CFieldReader& reader);

/// The binary form of a row of symbols.
void DecodeSymbols(CFieldReader& reader);

}  // namespace Kyr::Probe
