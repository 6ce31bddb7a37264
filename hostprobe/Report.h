// What was found, point by point: each is told as it is found, and the count at the end.
//
// A point goes to the host's log, as soon as there is one, and to a stream. The next line is told
// only when the one before is out, since the host may not survive the next point.
//
// Threads: any.
// Ownership: the stream is borrowed; the log is shared.
// Errors: none; a log that throws is itself a point that is wrong.
#pragma once

#include <ostream>
#include <string>

#include "base/Mutex.h"
#include "host/kernel/Resources.h"

namespace Kyr::HostProbe {

enum class Verdict {
    kFine,
    kDoubtful,  // the connector can do without, or what was seen allows no clear word
    kWrong,
    kNotTried,  // another point stood in the way
};

class CReport {
  public:
    explicit CReport(std::ostream& stream) : stream_(stream) {}

    /// From now on points go to that log, too.
    void UseLog(boost::shared_ptr<Common::Kernel::ILoggerResource> log);

    /// `point` is its name in the README, `detail` one line for people.
    void Tell(Verdict verdict, const std::string& point, const std::string& detail);
    /// Fine with the one text, or wrong with the other.
    void Judge(bool fine, const std::string& point, const std::string& whenFine,
               const std::string& whenWrong);
    /// The last line, with the count. Only once.
    void Finish();

  private:
    void Write(const std::string& text, int level);

    std::ostream& stream_;  // borrowed
    Base::CMutex mutex_;
    boost::shared_ptr<Common::Kernel::ILoggerResource> log_ KYR_GUARDED_BY(mutex_);
    int counts_[4] KYR_GUARDED_BY(mutex_) = {};
    bool finished_ KYR_GUARDED_BY(mutex_) = false;
    bool logFailed_ KYR_GUARDED_BY(mutex_) = false;
};

/// What is being handled says of itself, whatever its type: hosts throw what they like.
/// REQUIRES: called in a catch clause.
std::string CaughtText();

}  // namespace Kyr::HostProbe
