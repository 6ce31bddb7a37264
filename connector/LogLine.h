// One line of the host log, of one thread: built like a stream, written when it is destroyed.
//
// Numbers are written in the classic locale, whatever the process's locale is. An empty line writes
// nothing.
//
// Threads: a line belongs to the thread that builds it.
// Errors: none. A line that cannot be built, for want of memory, or that the host's logger refuses
//   is lost, and nothing else: it never takes its writer down.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/Resources.h"

namespace Kyr::Connectors::Common {

class CLogLine {
  public:
    /// A line that is lost.
    CLogLine() noexcept;
    /// `hostLevel` is 1 to 4; `source` is the name of the module that writes.
    CLogLine(boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger, int hostLevel,
             std::string source) noexcept;
    CLogLine(CLogLine&& other) noexcept;
    CLogLine(const CLogLine&) = delete;
    CLogLine& operator=(const CLogLine&) = delete;
    CLogLine& operator=(CLogLine&&) = delete;
    ~CLogLine();

    template <typename Value>
    CLogLine& operator<<(const Value& value) noexcept {
        try {
            if (std::ostream* const stream = Stream()) {
                *stream << value;
            }
        } catch (...) {
            Lose();
        }
        return *this;
    }

  private:
    struct State;

    std::ostream* Stream() noexcept;  // null when the line is lost
    void Lose() noexcept;

    std::unique_ptr<State> state_;  // empty in a line that is lost or was moved from
};

}  // namespace Kyr::Connectors::Common
