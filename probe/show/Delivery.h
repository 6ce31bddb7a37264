// Hands a report to whoever asked: as text, as JSON, or as the bytes that came.
//
// Threads: one. Errors: none but the exit code.
#pragma once

#include "probe/show/Report.h"

namespace Kyr::Probe {

struct OutputOptions {
    bool json = false;
    bool raw = false;
};

/// Colour is for a terminal, and for who does not forbid it by NO_COLOR.
bool IsOutputColoured();

/// Writes to standard output, and a problem of a text to standard error. The report's exit code, or
/// 1 when the output was lost.
int Deliver(const Report& report, const OutputOptions& output);

}  // namespace Kyr::Probe
