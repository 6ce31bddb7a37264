// The product was not reached, and what is missing.
//
// Threads and ownership: a value, like any exception. what() is one line for a person: that the
// product was not reached, the cause, the reason.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

namespace Kyr::Probe {

enum class Cause {
    kNotRegistered,  // no product is installed on this computer
    kPortAbsent,     // nobody serves its ports
    kOtherUser,      // somebody else's, or not for us
    kRefused,        // it says no
    kNotAnswering,   // it says nothing
    kNoPorts,        // the system has no such ports
};

/// As it stands in JSON: "port-absent".
const char* NameOf(Cause cause);

class CNotReached : public std::runtime_error {
  public:
    CNotReached(Cause cause, const std::string& reason);
    Cause GetCause() const { return cause_; }
    const std::string& GetReason() const { return reason_; }

  private:
    Cause cause_;
    std::string reason_;
};

/// The product has a request and says nothing, so that the connector would wait on.
class CNoReplyInTime : public CNotReached {
  public:
    explicit CNoReplyInTime(std::chrono::milliseconds limit);
};

}  // namespace Kyr::Probe
