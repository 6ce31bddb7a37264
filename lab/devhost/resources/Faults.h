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

enum class Fault {
    kRead,     // a value is asked for: the database throws
    kWrite,    // values or actions come: the database refuses them
    kPublish,  // a message is published: the bus throws
    kLog,      // a line comes for the log: the log throws
};

/// How long a fault lasts, and what of.
struct FaultLimits {
    std::optional<std::uint64_t> count;  // nothing: until it is mended
    std::optional<std::string> subject;  // nothing: any
};

/// Errors: std::invalid_argument for a name that is no fault's; it tells which there are.
Fault ParseFault(const std::string& name);

class CFaults {
  public:
    explicit CFaults(LineSink events);

    /// Replaces an older one.
    void Add(Fault fault, const FaultLimits& limits);
    void Mend(Fault fault);
    /// Names and limits of all.
    std::vector<std::string> List() const;

    /// True when what is about to be done is to fail; `subject` tells of what it is done.
    bool Take(Fault fault, const std::string& subject);
    /// The same as an exception. Errors: std::runtime_error.
    void Meet(Fault fault, const std::string& subject);

  private:
    bool CountDown(Fault fault, const std::string& subject);

    const LineSink events_;
    mutable boost::mutex mutex_;
    std::map<Fault, FaultLimits> active_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::DevHost
