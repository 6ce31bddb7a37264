// Layouts for people and for programs.
//
// Threads: any. Errors: none.
#pragma once

#include <iosfwd>
#include <string>

#include "probe/decode/Layout.h"

namespace Kyr::Probe {

/// A line a field: offset, name, value, and what is wrong with it; then one that sums up.
void WriteTable(std::ostream& out, const Layout& layout);

/// {"kind", "sound", "fields": [{"offset", "length", "name", "value", "wrong"}]}, on one line;
/// "wrong" only where something is.
std::string ToJson(const Layout& layout);

}  // namespace Kyr::Probe
