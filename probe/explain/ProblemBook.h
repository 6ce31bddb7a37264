// The problems that a log tells of beside its tasks, each once, and which of them are over.
//
// Threads: one. Errors: none. A cause may hold a number that the product or a hostile log chose, so
// that there is a limit to how many are kept.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

#include "probe/explain/Patterns.h"
#include "probe/explain/Story.h"

namespace Kyr::Probe {

class CProblemBook {
  public:
    using Number = std::size_t;

    /// It is told, now or once more. What comes back can be given to `End`.
    Number Add(const Place& place, const std::string& cause, const std::string& next,
               Ending ending);

    /// That one is over.
    void End(Number problem);
    /// All that such a thing in the log ends.
    void End(Ending ending);

    /// The connector was started anew.
    void Start();
    /// It is connected behind a start.
    void ConnectedBehindStart();
    /// All requests are made again, as once an hour.
    void Resend();
    /// A connection, or a reply that only a connected product gives.
    void Connection();

    std::vector<ProblemStory> Take();

  private:
    struct Entry {
        ProblemStory problem;
        Ending ending;
        int resendings = 0;  // since it was told last
    };
    std::vector<Entry> entries_;
};

}  // namespace Kyr::Probe
