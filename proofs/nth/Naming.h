// Whether the log names a fault that could be noticed from outside: a line of level 3 or above that
// says what has failed.
//
// Of failures of the host's own calls the host knows what must be said (CHost::OwedLines). Of all
// others it follows from what was seen: an attempt at a task that failed, a connection that broke
// or did not come about, a look of the watch that did not ask for all records, a change of the
// status that was noticed late. The log's own failure is named by nobody, nor is one that a host
// was told by an exception. A want of memory is asked for its line only when it comes once: the
// next one may be the line's.
//
// Threads: one. Errors: what is wrong is a sentence in the result.
#pragma once

#include <string>
#include <vector>

#include "proofs/nth/Faults.h"

namespace Kyr::Proofs::Nth {

/// What could be noticed.
struct Effects {
    bool taskHasFailed = false;
    bool taskWasGivenUp = false;
    bool connectionWasLost = false;
    bool lookWasMissed = false;
    bool changeCameLate = false;
    bool replyWasOverheard = false;  // a cause of its own, with a line of its own

    bool Any() const {
        return taskHasFailed || taskWasGivenUp || connectionWasLost || lookWasMissed ||
               changeCameLate;
    }
};

/// What must be said whatever could be noticed.
struct Dues {
    std::vector<std::string> lines;  // texts, each as often as it is owed
    bool threadIsMissing = false;
    int wrongReplies = 0;  // messages that were no replies
};

/// lines: of level 3 and above.
std::vector<std::string> JudgeLines(const Fault& fault, const Effects& effects, const Dues& dues,
                                    const std::vector<std::string>& lines);

}  // namespace Kyr::Proofs::Nth
