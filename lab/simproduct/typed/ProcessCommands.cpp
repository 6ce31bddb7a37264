#include "lab/simproduct/typed/TypedCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

void TellTasks(const CTaskBook& tasks, const LineSink& tell) {
    const std::vector<CLine> entries = tasks.TaskLog();
    for (const CLine& entry : entries) {
        tell(entry);
    }
    tell(AnswerTo("tasklog").With("tasks", entries.size()));
}

CLine Answer(const char* command, const LabProcess& process) {
    return AnswerTo(command).With("name", process.name).With("pid", process.pid);
}

}  // namespace

ConsoleCommandGroup ProcessCommands(CTaskBook& tasks, const std::string& victim) {
    return {
        {"start", "<name> [<program> [<argument>...]]",
         "Starts a process that a kill request may end; without a program, the victim.",
         [&tasks, victim](CCommandWords& words, const LineSink& tell) {
             const std::string name = words.TakeWord("name");
             const std::string program = words.IsEmpty() ? victim : words.TakeWord("program");
             tell(Answer("start", tasks.Start(name, program, words.TakeRest())));
         }},
        {"adopt", "<name> <pid>", "Takes over a victim that a product before this one started.",
         [&tasks, victim](CCommandWords& words, const LineSink& tell) {
             const std::string name = words.TakeWord("name");
             const std::uint64_t pid = ParseNumber(words.TakeWord("process id"));
             words.Finish();
             tell(Answer("adopt", tasks.Adopt(name, victim, pid)));
         }},
        {"tasklog", "", "Tells the tasks so far and their outcomes.",
         [&tasks](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             TellTasks(tasks, tell);
         }},
    };
}

}  // namespace Kyr::Lab::SimProduct
