// A person's wish to end this program before its time (Ctrl-C, SIGTERM): noted, and acted upon
// where it does no harm.
//
// Threads: one object at a time; Asked by any.
#pragma once

namespace Kyr::Lab::Runner {

class CInterruption {
  public:
    /// From now on a request to interrupt or terminate this process is only noted.
    CInterruption();
    /// Such a request ends the process again, but for one that was noted: that is forgotten.
    ~CInterruption();
    CInterruption(const CInterruption&) = delete;
    CInterruption& operator=(const CInterruption&) = delete;

    /// Whether there was one since the object was made.
    static bool Asked();
};

}  // namespace Kyr::Lab::Runner
