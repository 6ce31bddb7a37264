#include "lab/common/Console.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Kyr::Lab {

CLine AnswerTo(const std::string& command) {
    return CLine("answer").With("command", command);
}

CConsole::CConsole(const std::vector<ConsoleCommandGroup>& groups, LineSink events)
    : events_(std::move(events)) {
    for (const ConsoleCommandGroup& group : groups) {
        commands_.insert(commands_.end(), group.begin(), group.end());
    }
    commands_.push_back(
        {"help", "", "Lists the commands.", [this](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             for (const ConsoleCommand& command : commands_) {
                 const std::string blank = command.usage.empty() ? "" : " ";
                 tell(AnswerTo("help")
                          .With("usage", command.name + blank + command.usage)
                          .With("text", command.help));
             }
         }});
}

void CConsole::Execute(const std::string& line) {
    std::string name = line;
    try {
        std::vector<std::string> split = SplitWords(line);
        if (split.empty()) {
            return;
        }
        CCommandWords words(std::move(split));
        name = words.TakeWord("command");
        const auto command =
            std::find_if(commands_.begin(), commands_.end(),
                         [&](const ConsoleCommand& row) { return row.name == name; });
        if (command == commands_.end()) {
            throw std::invalid_argument("no such command; try help");
        }
        command->run(words, events_);
    } catch (const std::exception& problem) {
        events_(CLine("error").With("command", name).With("text", problem.what()));
    }
}

void ObeyCommands(CCommandInput& input, CConsole& console, const ProgramEnd& end) {
    using Kind = CCommandInput::Kind;
    bool askedToTerminate = false;
    while (!end.hasEnded()) {
        const CCommandInput::Event event = input.Next();
        if (event.kind == Kind::kLine) {
            console.Execute(event.line);
        } else if (event.kind == Kind::kTerminate && askedToTerminate) {
            end.endAtOnce();
        } else if (event.kind != Kind::kWoken) {
            askedToTerminate = askedToTerminate || event.kind == Kind::kTerminate;
            end.quit();
        }
    }
}

}  // namespace Kyr::Lab
