// The host as a process: the real module with bus, store and log whose memory is the journal. What
// the journal does not say that a task has come to an end is given to the module anew in each life,
// as by a server that asks again for what it has heard nothing of.
//
// Threads: the calling one; REQUIRES: the process has no other, and is this host's alone.
#pragma once

#include <string>

#include "base/Clock.h"
#include "proofs/kill/Calls.h"

namespace Kyr::Proofs::Kill {

/// Until it is told to stop; does not return then either.
[[noreturn]] void RunHost(Fate& fate, const std::string& journal,
                          const boost::shared_ptr<Base::IClock>& clock);

}  // namespace Kyr::Proofs::Kill
