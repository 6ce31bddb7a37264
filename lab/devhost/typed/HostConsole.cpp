#include "lab/devhost/typed/HostConsole.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"
#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::DevHost {

CHostConsole::CHostConsole(std::vector<HostCommand> commands, LineSink events)
    : commands_(std::move(commands)), events_(std::move(events)) {
    commands_.push_back(
        {"help", "", "Lists the commands.", [this](CCommandArguments& arguments, const LineSink&) {
             arguments.Finish();
             Help();
         }});
}

void CHostConsole::Execute(const std::string& line) {
    try {
        const std::vector<std::string> words = SplitWords(line);
        if (!words.empty()) {
            Run(words);
        }
    } catch (const std::exception& exception) {
        events_(CLine("error").With("command", line).With("text", exception.what()));
    }
}

void CHostConsole::Run(const std::vector<std::string>& words) {
    const auto command =
        std::find_if(commands_.begin(), commands_.end(),
                     [&](const HostCommand& candidate) { return candidate.name == words.front(); });
    if (command == commands_.end()) {
        throw std::invalid_argument("no such command; try help");
    }
    CCommandArguments arguments({words.begin() + 1, words.end()});
    command->run(arguments, events_);
}

void CHostConsole::Help() const {
    for (const HostCommand& command : commands_) {
        const std::string blank = command.usage.empty() ? "" : " ";
        events_(CLine("answer")
                    .With("command", "help")
                    .With("usage", command.name + blank + command.usage)
                    .With("text", command.help));
    }
}

}  // namespace Kyr::Lab::DevHost
