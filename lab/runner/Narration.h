// An event as a person would tell it, in one line.
//
// Threads: any. A kind that is not known is told as it stands.
#pragma once

#include <string>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

/// How much an event weighs for the person who watches.
enum class Weight {
    kDetail,  // only in the transcript: answers to commands, life-cycle calls that went well
    kOrdinary,
    kWarning,
    kError,
};

/// Which way it crosses the wire between host and product, as far as it does.
enum class Road { kNone, kToProduct, kFromProduct };

struct Narration {
    std::string text;
    Weight weight;
    Road road = Road::kNone;
    bool oncePerStep = false;  // it comes again and again, as time passes
};

Narration Narrate(const CLine& line);

}  // namespace Kyr::Lab::Runner
