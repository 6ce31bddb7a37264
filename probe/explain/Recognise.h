// What the text of a line of the connector says, in words that are safe to print.
//
// Threads: any. Errors: none; a text that is none of the connector's is of no kind.
#pragma once

#include <string>
#include <string_view>

#include "probe/explain/Patterns.h"

namespace Kyr::Probe {

struct Recognised {
    LineKind kind = LineKind::kUnknown;
    Ending ending = Ending::kNone;
    std::string cause;  // safe to print: our own words, and numbers
    std::string next;
    std::string_view rest;  // what stands behind: of the host or the product, never safe
};

/// `rest` refers to `text`.
Recognised Recognise(std::string_view text);

/// The digits with which a text begins, as far as a number of the product goes.
std::string_view LeadingNumber(std::string_view text);

}  // namespace Kyr::Probe
