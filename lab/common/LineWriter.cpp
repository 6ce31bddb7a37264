#include "lab/common/LineWriter.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab {

namespace {

std::string FormatTime(std::chrono::milliseconds sinceMidnight) {
    const auto count = static_cast<unsigned>(sinceMidnight.count() % 86400000);
    char text[32];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u", count / 3600000, count / 60000 % 60,
                  count / 1000 % 60, count % 1000);
    return text;
}

/// The terminal's colour for a kind: what fails is red, what really happens is green.
const char* ColourOf(const std::string& kind) {
    if (kind == "error") {
        return "\x1b[31m";
    }
    if (kind == "did" || kind == "started" || kind == "ended") {
        return "\x1b[32m";
    }
    if (kind == "request" || kind == "reply") {
        return "\x1b[36m";
    }
    return "\x1b[1m";
}

}  // namespace

std::chrono::milliseconds SystemTimeOfDay() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now % std::chrono::hours(24));
}

std::chrono::nanoseconds MachineStamp() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

CLineWriter::CLineWriter(std::ostream& stream, std::string name, TimeOfDay timeOfDay, bool coloured,
                         Stamp stamp)
    : name_(std::move(name)),
      timeOfDay_(std::move(timeOfDay)),
      coloured_(coloured),
      stamp_(std::move(stamp)),
      stream_(stream) {}

void CLineWriter::Write(const CLine& line) {
    std::string text = line.Text();
    if (coloured_) {
        const std::string& kind = line.Kind();
        text = ColourOf(kind) + kind + "\x1b[0m" + text.substr(kind.size());
    }
    const boost::lock_guard<boost::mutex> lock(mutex_);
    // Time and stamp are read under the lock: those of following lines never run backwards.
    if (!coloured_) {
        text += " at=" + std::to_string(stamp_().count());
    }
    stream_ << FormatTime(timeOfDay_()) + ' ' + text + '\n' << std::flush;
    if (!stream_) {
        if (!hasFailed_.exchange(true)) {
            std::cerr << "cannot write " + name_ + ": " + std::generic_category().message(errno) +
                             '\n';
        }
        stream_.clear();  // there may be room again for the next line
    }
}

}  // namespace Kyr::Lab
