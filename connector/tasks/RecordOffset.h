// How many records of one kind the module has passed on: a count in the host's key-value store,
// kept as decimal text, so that collecting resumes where it stopped.
//
// Threads: the task thread; each key has one writer, so that reading, adding and storing
// need no lock.
// Errors: boost::bad_lexical_cast for a stored text that is no number, and what the store throws.
#pragma once

#include <cstdint>
#include <string>

#include "host/database/IMapper.h"

namespace Kyr::Connectors::OvAgentConnector {

/// The number that `text` is: an optional sign and decimal digits, nothing else. A minus negates
/// modulo 2^64. The process's locale has no say. Throws boost::bad_lexical_cast.
std::uint64_t ParseOffset(const std::string& text);

/// The offset stored under `key`; a missing or empty text is 0.
std::uint64_t ReadOffset(Kyr::Common::Database::IKeyValueAccessMapper& store, const char* key);

/// Adds `count` to the offset that is stored now, modulo 2^64, and stores the sum. A store that
/// reports failure is not noticed: the same records come again.
void AdvanceOffset(Kyr::Common::Database::IKeyValueAccessMapper& store, const char* key,
                   std::uint64_t count);

}  // namespace Kyr::Connectors::OvAgentConnector
