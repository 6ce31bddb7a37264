// One line of the host log, of one thread: built like a stream, written when it is destroyed.
//
// Numbers are written in the classic locale, whatever the process's locale is. An empty line writes
// nothing. What the host's logger throws is swallowed: a log line never takes its writer down.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/Resources.h"

namespace Kyr::Connectors::Common {

class CLogLine {
  public:
    /// `hostLevel` is 1 to 4; `source` is the name of the module that writes.
    CLogLine(boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger, int hostLevel,
             std::string source);
    CLogLine(CLogLine&& other) noexcept;
    CLogLine(const CLogLine&) = delete;
    CLogLine& operator=(const CLogLine&) = delete;
    CLogLine& operator=(CLogLine&&) = delete;
    ~CLogLine();

    template <typename Value>
    CLogLine& operator<<(const Value& value) {
        Stream() << value;
        return *this;
    }

  private:
    struct State;

    std::ostream& Stream();

    std::unique_ptr<State> state_;  // empty in a line that was moved from
};

}  // namespace Kyr::Connectors::Common
