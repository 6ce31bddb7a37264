// Threads that run one at a time change fastest where all have the same processor.
//
// Threads: those that are created from here on, and the calling one. Errors: it stays where it is.
#pragma once

namespace Kyr::Proofs {

/// On the one that it runs on.
void StayOnOneProcessor();
/// On that one of those that it may use, counted from 0 and over again.
void StayOnProcessor(unsigned number);

}  // namespace Kyr::Proofs
