// The product as a process: the simulated one, healthy. Its records are in a file of its own, what
// it has done and which outcomes wait in the journal, so that it goes on where a kill has ended it.
// As the real one it announces in the area that outcomes wait, and does so again as long as they
// do: a connector that reconnects forgets what it has seen last, and asks an hour later by itself.
//
// Threads: the calling one; REQUIRES: the process has no other, and is this product's alone.
#pragma once

#include <chrono>
#include <string>

#include "proofs/kill/Calls.h"

namespace Kyr::Proofs::Kill {

struct ProductOptions {
    std::string journal;
    std::string records;
    bool advancedPort;
    std::chrono::milliseconds announcing;  // again, so long after the last time
};

/// Until it is told to stop; does not return then either.
[[noreturn]] void RunProduct(Fate& fate, const ProductOptions& options);

}  // namespace Kyr::Proofs::Kill
