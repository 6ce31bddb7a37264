#include "lab/simproduct/typed/ProductConsole.h"

#include <stdexcept>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimProduct {

CProductConsole::CProductConsole(Parts parts, const std::vector<ConsoleCommandGroup>& groups)
    : parts_(std::move(parts)) {
    commands_ = {
        {"start", "start <name> [<program> [<argument>...]]",
         "start a process that a kill request may end; without a program, the victim",
         [this](const Words& words) { Start(words); }},
        {"adopt", "adopt <name> <pid>", "take over a victim that a product before this one started",
         [this](const Words& words) { Adopt(words); }},
        {"list", "list", "the processes that were started, and the blocked hashes",
         [this](const Words& words) { List(words); }},
        {"tasklog", "tasklog", "the tasks so far and their outcomes",
         [this](const Words& words) { TaskLog(words); }},
        {"misbehave",
         "misbehave <fault> [n] [for=<count>] [transport=alpc|lpc] [command=<n>|any] [inner=<n>] "
         "[function=<name>]",
         "do that wrong for the next requests; also: misbehave list, misbehave clear [<fault>]",
         [this](const Words& words) { Misbehave(words); }},
    };
    for (const ConsoleCommandGroup& group : groups) {
        commands_.insert(commands_.end(), group.begin(), group.end());
    }
    const ConsoleCommandGroup last = {
        {"help", "help", "this", [this](const Words& words) { Help(words); }},
        {"quit", "quit", "end; also: stop", [this](const Words& words) { Quit(words); }},
        {"stop", "stop", "end; also: quit", [this](const Words& words) { Quit(words); }},
    };
    commands_.insert(commands_.end(), last.begin(), last.end());
}

bool CProductConsole::Execute(const std::string& line) {
    std::string command;
    try {
        const Words words = SplitWords(line);
        if (words.empty()) {
            return true;
        }
        command = words[0];
        for (const ConsoleCommand& row : commands_) {
            if (row.name == command) {
                row.run(words);
                return !quit_;
            }
        }
        throw std::invalid_argument("unknown command; `help` lists them");
    } catch (const std::exception& problem) {
        parts_.sink(CLine("error").With("command", command).With("text", problem.what()));
    }
    return true;
}

void CProductConsole::OpenPorts() {
    const auto apply = [&](Transport transport, IPort& server) {
        const bool wanted = parts_.misbehaviours.Offers(transport);
        if (wanted && !server.IsOpen()) {
            server.Open();
        } else if (!wanted && server.IsOpen()) {
            server.Close();
        }
    };
    apply(Transport::kAlpc, parts_.alpc);
    apply(Transport::kLpc, parts_.lpc);
}

void CProductConsole::Start(const Words& words) {
    if (words.size() < 2) {
        throw std::invalid_argument("a name is missing");
    }
    const std::string program = words.size() > 2 ? words[2] : parts_.victim;
    const Words arguments(words.begin() + (words.size() > 2 ? 3 : 2), words.end());
    const LabProcess process = parts_.tasks.Start(words[1], program, arguments);
    parts_.sink(AnswerTo("start").With("name", process.name).With("pid", process.pid));
}

void CProductConsole::Adopt(const Words& words) {
    RequireWords(words, 3);
    if (words.size() < 3) {
        throw std::invalid_argument("a name and a process id are wanted");
    }
    const LabProcess process = parts_.tasks.Adopt(words[1], parts_.victim, ParseNumber(words[2]));
    parts_.sink(AnswerTo("adopt").With("name", process.name).With("pid", process.pid));
}

void CProductConsole::List(const Words& words) {
    RequireWords(words, 1);
    const std::vector<LabProcess> processes = parts_.processes.List();
    for (const LabProcess& process : processes) {
        parts_.sink(AnswerTo("list")
                        .With("name", process.name)
                        .With("pid", process.pid)
                        .With("state", process.running ? "running" : "ended")
                        .With("program", process.program.path)
                        .With("sha256", process.program.sha256));
    }
    const std::vector<BlockedProgram> blocked = parts_.tasks.Blocked();
    for (const BlockedProgram& one : blocked) {
        parts_.sink(AnswerTo("list")
                        .With("state", "blocked")
                        .With("sha1", one.hashes.sha1.value_or(""))
                        .With("sha256", one.hashes.sha256.value_or(""))
                        .With("delete", one.deleteFile ? "yes" : "no"));
    }
    parts_.sink(
        AnswerTo("list").With("processes", processes.size()).With("blocked", blocked.size()));
}

void CProductConsole::TaskLog(const Words& words) {
    RequireWords(words, 1);
    const std::vector<TaskLogEntry> entries = parts_.tasks.TaskLog();
    for (const TaskLogEntry& entry : entries) {
        parts_.sink(AnswerTo("tasklog")
                        .With("number", entry.number)
                        .With("function", entry.function)
                        .With("state", NameOf(entry.state))
                        .With("text", entry.text)
                        .With("userdata", entry.userData));
    }
    parts_.sink(AnswerTo("tasklog").With("tasks", entries.size()));
}

void CProductConsole::Misbehave(const Words& words) {
    const std::string what = words.size() > 1 ? words[1] : "list";
    if (what == "clear") {
        RequireWords(words, 3);
        const std::optional<Fault> fault = words.size() > 2 ? FindFault(words[2]) : std::nullopt;
        if (words.size() > 2 && !fault) {
            throw std::invalid_argument("no such fault; `help` lists them");
        }
        parts_.misbehaviours.Clear(fault);
    } else if (what != "list") {
        parts_.misbehaviours.Add(ParseMisbehaviour({words.begin() + 1, words.end()}));
    }
    OpenPorts();
    const std::vector<Misbehaviour> active = parts_.misbehaviours.List();
    for (const Misbehaviour& one : active) {
        parts_.sink(AnswerTo("misbehave").With("fault", one.Text()));
    }
    parts_.sink(AnswerTo("misbehave").With("faults", active.size()));
}

void CProductConsole::Help(const Words& words) {
    RequireWords(words, 1);
    for (const ConsoleCommand& row : commands_) {
        parts_.sink(AnswerTo("help").With("usage", row.usage).With("text", row.text));
    }
    for (const std::string& fault : DescribeFaults()) {
        parts_.sink(AnswerTo("help").With("fault", fault));
    }
}

void CProductConsole::Quit(const Words& words) {
    RequireWords(words, 1);
    quit_ = true;
    parts_.sink(AnswerTo(words[0]));
}

}  // namespace Kyr::Lab::SimProduct
