// Writes events to one stream: a time, the event's text, end of line, flush.
//
// A whole line is written at once, so that lines of several threads never mix. On request the kind
// is coloured for a person's terminal; a coloured line is not for reading back, and has no stamp.
//
// Threads: Write from any thread.
// Ownership: the stream must outlive the writer.
// Errors: a lab program does not end because nobody reads it. The first line that cannot be written
// is told on standard error, and HasFailed tells the program, for its exit code.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <ostream>
#include <string>

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

/// The exit code of a program that lost lines of its output; scripts rely on it.
constexpr int kOutputLost = 4;

/// Whoever takes events: a line writer, or a test's list.
using LineSink = std::function<void(const CLine&)>;

class CLineWriter {
  public:
    /// `name` is the stream's, for people.
    CLineWriter(std::ostream& stream, std::string name, TimeOfDay timeOfDay, bool coloured,
                Stamp stamp = MachineStamp);

    void Write(const CLine& line);
    /// Whether a line was lost.
    bool HasFailed() const { return hasFailed_; }

  private:
    const std::string name_;
    const TimeOfDay timeOfDay_;
    const bool coloured_;
    const Stamp stamp_;
    std::atomic<bool> hasFailed_{false};

    boost::mutex mutex_;    // guards the stream
    std::ostream& stream_;  // borrowed
};

}  // namespace Kyr::Lab
