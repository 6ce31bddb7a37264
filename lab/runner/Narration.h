// An event as a person would tell it, in one line.
//
// Threads: any. A kind that is not known is told as it stands.
#pragma once

#include <string>

#include "lab/common/LineProtocol.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

struct Narration {
    std::string text;
    /// A detail is for transcript and page only: an answer, a life-cycle call that went well.
    LifePage::Weight weight;
    /// Stands in place of the actor for what crosses between host and product: which way it does.
    /// Empty: it does not cross.
    std::string wire = {};
    bool oncePerStep = false;  // it comes again and again, as time passes
};

Narration Narrate(const CLine& line);

}  // namespace Kyr::Lab::Runner
