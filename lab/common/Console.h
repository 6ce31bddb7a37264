// Carries out what a lab program's user types: commands, one a line, by a table of them, until the
// program is to end.
//
// A command answers with `answer` events; one that cannot be carried out gives an `error` event.
//
// Threads: one at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lab/common/CommandInput.h"
#include "lab/common/CommandWords.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab {

/// A row of the table. What the handler throws is told in the `error` event.
struct ConsoleCommand {
    std::string name;
    std::string usage;  // what stands behind the name
    std::string help;   // one sentence
    std::function<void(CCommandWords& words, const LineSink& tell)> run;
};

using ConsoleCommandGroup = std::vector<ConsoleCommand>;

/// The `answer` event of a command.
CLine AnswerTo(const std::string& command);

class CConsole {
  public:
    /// Adds `help` to the rows of all groups. Of rows with one name the first is carried out; the
    /// others only stand in the help.
    CConsole(const std::vector<ConsoleCommandGroup>& groups, LineSink events);
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    /// An empty line does nothing.
    void Execute(const std::string& line);

  private:
    ConsoleCommandGroup commands_;
    const LineSink events_;
};

/// How a program comes to its end.
struct ProgramEnd {
    std::function<bool()> hasEnded;
    std::function<void()> quit;       // on the end of the input and the first request to terminate
    std::function<void()> endAtOnce;  // on every further request
};

/// Carries out commands until the program has ended. Goes on reading after `quit`, so that a
/// program that hangs on its way to the end can still be helped.
void ObeyCommands(CCommandInput& input, CConsole& console, const ProgramEnd& end);

}  // namespace Kyr::Lab
