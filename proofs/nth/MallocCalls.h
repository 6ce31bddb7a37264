// malloc, calloc and realloc fail when a fault strikes there: those that this program's own code
// and zlib call, and no others. The system's libraries may end the process without memory, and
// `operator new` is a place of its own.
//
// Threads: any, but for FindCallersOfMalloc.
#pragma once

namespace Kyr::Proofs::Nth {

/// REQUIRES: called by the only thread, before a fault is armed. Until then nothing fails.
void FindCallersOfMalloc();

}  // namespace Kyr::Proofs::Nth
