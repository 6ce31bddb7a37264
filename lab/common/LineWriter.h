// Writes events to one stream: a time, the event's text, end of line, flush.
//
// A whole line is written at once, so that lines of several threads never mix. On request the kind
// is coloured for a person's terminal; a coloured line is not for reading back, and has no stamp.
//
// Threads: Write from any thread.
// Ownership: the stream must outlive the writer.
// Errors: none are reported; a lab program does not end because nobody reads it.
#pragma once

#include <chrono>
#include <functional>
#include <ostream>

#include <boost/thread/mutex.hpp>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab {

/// What stands in a line's time: how long the day has lasted (UTC).
using TimeOfDay = std::function<std::chrono::milliseconds()>;

std::chrono::milliseconds SystemTimeOfDay();

/// What stands in a line's stamp: a moment that other programs of this machine can compare.
using Stamp = std::function<std::chrono::nanoseconds()>;

/// By the clock that all processes of a machine share and that nobody sets.
std::chrono::nanoseconds MachineStamp();

/// Whoever takes events: a line writer, or a test's list.
using LineSink = std::function<void(const CLine&)>;

class CLineWriter {
  public:
    CLineWriter(std::ostream& stream, TimeOfDay timeOfDay, bool coloured,
                Stamp stamp = MachineStamp);

    void Write(const CLine& line);

  private:
    const TimeOfDay timeOfDay_;
    const bool coloured_;
    const Stamp stamp_;

    boost::mutex mutex_;    // guards the stream
    std::ostream& stream_;  // borrowed
};

}  // namespace Kyr::Lab
