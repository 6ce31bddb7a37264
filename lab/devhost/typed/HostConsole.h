// Carries commands out, one a line, by a table of them.
//
// A command answers with `answer` events; one that cannot be carried out gives an `error` event.
//
// Threads: one at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lab/common/LineWriter.h"
#include "lab/devhost/typed/CommandArguments.h"

namespace Kyr::Lab::DevHost {

struct HostCommand {
    std::string name;
    std::string usage;  // what stands behind the name
    std::string help;   // one sentence
    std::function<void(CCommandArguments&, const LineSink& answer)> run;
};

class CHostConsole {
  public:
    /// Adds `help` to the table.
    CHostConsole(std::vector<HostCommand> commands, LineSink events);

    /// An empty line does nothing.
    void Execute(const std::string& line);

  private:
    void Run(const std::vector<std::string>& words);
    void Help() const;

    std::vector<HostCommand> commands_;
    const LineSink events_;
};

}  // namespace Kyr::Lab::DevHost
