// What happened in a schedule, told to a person: each switch with the places of the sources at
// which the thread stood.
//
// Threads: those that the scheduler runs, until Print.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "proofs/schedules/Scheduler.h"

namespace Kyr::Proofs::Schedules {

class CTrace {
  public:
    /// Notes a switch, or what is told of at any rate; most operations are neither.
    void Note(Nanoseconds now, int thread, const char* operation, const void* object,
              const Option& next);
    void Print(std::ostream& out) const;

  private:
    struct Step {
        Nanoseconds now;
        int thread;
        const char* operation;
        const void* object;
        Option next;
        std::vector<void*> addresses;
    };

    std::vector<Step> steps_;
};

}  // namespace Kyr::Proofs::Schedules
