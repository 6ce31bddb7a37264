// What the host fails at on request: a number of times, or until it is mended. Modules only meet
// it; what the host does for itself works.
//
// Each failure is told as `failed`.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

enum class Failure {
    kRead,     // a value is asked for: the database throws
    kWrite,    // values or actions come: the database refuses them
    kPublish,  // a message is published: the bus throws
    kLog,      // a line comes for the log: the log throws
};

/// How long a fault lasts, and what of.
struct FailureLimits {
    std::optional<std::uint64_t> count;  // nothing: until it is mended
    std::optional<std::string> subject;  // nothing: any
};

/// Errors: std::invalid_argument for a name that is no fault's; it tells which there are.
Failure ParseFailure(const std::string& name);

class CFailures {
  public:
    explicit CFailures(LineSink events);

    /// Replaces an older one.
    void Add(Failure fault, const FailureLimits& limits);
    void Mend(Failure fault);
    /// Names and limits of all.
    std::vector<std::string> List() const;

    /// True when what is about to be done is to fail; `subject` tells of what it is done.
    bool Take(Failure fault, const std::string& subject);
    /// The same as an exception. Errors: std::runtime_error.
    void Meet(Failure fault, const std::string& subject);

  private:
    bool CountDown(Failure fault, const std::string& subject);

    const LineSink events_;
    mutable boost::mutex mutex_;
    std::map<Failure, FailureLimits> active_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::DevHost
