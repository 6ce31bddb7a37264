// Identifiers and hashes from a command line. They go into requests unescaped: nothing but their
// own digits may come through.
//
// Threads: any. Errors: CWrongUsage.
#pragma once

#include <string>
#include <vector>

namespace Kyr::Probe {

/// `text` as it is, when it is a UUID in its 36-character form.
const std::string& CheckedUuid(const std::string& text);

/// `text` as it is, when it has just so many hexadecimal digits.
const std::string& CheckedHash(const std::string& text, std::size_t digits);

/// Three UUIDs from a text with ";" between them; three fresh ones of an empty text.
std::vector<std::string> ThreeIdentifiers(const std::string& text);

}  // namespace Kyr::Probe
