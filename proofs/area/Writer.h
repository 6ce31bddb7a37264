// The product's side: a process that writes the broadcast area as fast as it can, and dies again
// and again.
//
// Threads: one. Errors: counted in the control's `failures`.
#pragma once

#include <cstdint>

#include "proofs/area/Control.h"

namespace Kyr::Proofs::Area {

struct WriterOptions {
    std::uint32_t seed = 1;
    /// Whether the mutex is sometimes held for longer than readers wait.
    bool longHolds = false;
};

/// Forks a process that keeps a writer alive, a new one for each that died, until `control.stop`.
/// REQUIRES: the caller has no other thread, and has not used the port layer.
int StartWriters(Control& control, const WriterOptions& options);
/// Waits until that process has ended; whether it did in good order.
bool AwaitWriters(int process);

}  // namespace Kyr::Proofs::Area
