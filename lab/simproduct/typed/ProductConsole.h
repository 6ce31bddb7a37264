// The product's line commands: reads one, acts, and writes `answer` or `error` events.
//
// Threads: one at a time.
// Ownership: everything in Parts must outlive this.
#pragma once

#include <string>
#include <vector>

#include "lab/simproduct/desk/Misbehaviour.h"
#include "lab/simproduct/ports/Port.h"
#include "lab/simproduct/processes/TaskBook.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

class CProductConsole {
  public:
    struct Parts {
        CTaskBook& tasks;
        CLabProcesses& processes;
        CMisbehaviours& misbehaviours;
        IPort& alpc;
        IPort& lpc;
        LineSink sink;
        std::string victim;  // the program that `start` starts when none is named
    };

    /// `groups` are commands besides the ones of processes, tasks and faults.
    explicit CProductConsole(Parts parts, const std::vector<ConsoleCommandGroup>& groups = {});
    CProductConsole(const CProductConsole&) = delete;
    CProductConsole& operator=(const CProductConsole&) = delete;

    /// Carries out one line; an empty one does nothing. False when the product is to end.
    bool Execute(const std::string& line);

    /// Opens and closes the ports as the misbehaviours say.
    /// Errors: std::runtime_error when a port cannot be made.
    void OpenPorts();

  private:
    void Start(const Words& words);
    void Adopt(const Words& words);
    void List(const Words& words);
    void TaskLog(const Words& words);
    void Misbehave(const Words& words);
    void Help(const Words& words);
    void Quit(const Words& words);

    Parts parts_;
    std::vector<ConsoleCommand> commands_;
    bool quit_ = false;
};

}  // namespace Kyr::Lab::SimProduct
