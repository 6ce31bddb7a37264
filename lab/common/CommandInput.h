// Where a lab program's commands come from: the lines of standard input, until the input ends or
// the program is asked to end.
//
// Construct it first in main, before any thread: it keeps the requests to end (an interrupt from
// the terminal, a polite termination) away from every thread, and Next reports them instead.
//
// Requests to end come first: they are not kept waiting by lines that have been read already.
//
// Threads: Next and IsAskedToTerminate by one thread, Wake by any; one object a process.
// Errors: std::runtime_error from the constructor when the system refuses.
#pragma once

#include <memory>
#include <string>

namespace Kyr::Lab {

class CCommandInput {
  public:
    enum class Kind { kLine, kEndOfInput, kTerminate, kWoken };

    struct Event {
        Kind kind;
        std::string line;  // without its end of line
    };

    CCommandInput();
    ~CCommandInput();
    CCommandInput(const CCommandInput&) = delete;
    CCommandInput& operator=(const CCommandInput&) = delete;

    /// Blocks until there is something to report. After EndOfInput no line can follow.
    Event Next();
    /// True when Next would report a request to end; for what a line has set going and takes long.
    bool IsAskedToTerminate() const;
    /// Makes Next report Woken, once for all calls that it has not reported yet.
    void Wake();

  private:
    struct State;  // the platform's own
    std::unique_ptr<State> state_;
};

/// True when standard output, or standard error, is a person's terminal.
bool OutputIsTerminal();
bool ErrorOutputIsTerminal();

}  // namespace Kyr::Lab
