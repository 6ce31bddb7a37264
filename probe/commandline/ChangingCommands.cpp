#include "probe/commandline/ChangingCommands.h"

#include <exception>
#include <memory>

#include "probe/Input.h"
#include "probe/commands/ActionRequest.h"
#include "probe/commands/Handover.h"
#include "probe/commands/WrongUsage.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace {

CLI::App& AddChange(CLI::App& app, const char* name, const char* text, const CommonPointer& all) {
    CLI::App& command = AddCommand(app, name, text, all);
    AddYes(command, all);
    return command;
}

void AddActionOptions(CLI::App& command, ActionOptions& options) {
    command.add_option("--sha1", options.sha1, "of the executable, 40 hexadecimal digits");
    command.add_option("--sha256", options.sha256, "of the executable, 64 hexadecimal digits");
    command.add_option("--ids", options.identifiers,
                       "three identifiers of the task with ; between them; else fresh ones");
}

void AddKill(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<ActionOptions>();
    CLI::App& command =
        AddChange(app, "kill", "has the product end a process, as the task does: needs --yes", all);
    command.add_option("--pid", options->processId, "the process")->check(CheckNumber)->required();
    AddActionOptions(command, *options);
    command.callback([all, options, &deed] {
        deed = [all, options] {
            return RunIfYes("kill", *all, "this has the product end a process",
                            [&](CSession& session) { return KillProcess(session, *options); });
        };
    });
}

void AddBlock(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<ActionOptions>();
    CLI::App& command = AddChange(
        app, "block", "has the product block an executable, as the task does: needs --yes", all);
    AddActionOptions(command, *options);
    command.add_flag("--delete", options->deleteExecutable, "has it delete the executable, too");
    command.callback([all, options, &deed] {
        deed = [all, options] {
            return RunIfYes("block", *all, "this has the product block an executable",
                            [&](CSession& session) { return BlockExecutable(session, *options); });
        };
    });
}

/// A file that cannot be read is the user's mistake.
std::string ReadGiven(const std::string& name) {
    if (name == "-") {
        UseBinaryInput();
    }
    try {
        return ReadInput(name);
    } catch (const std::exception& problem) {
        throw CWrongUsage(problem.what());
    }
}

void AddImport(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto file = std::make_shared<std::string>();
    const auto isBlob = std::make_shared<bool>(false);
    CLI::App& command = AddChange(
        app, "import", "gives the product a configuration in place of its own: needs --yes", all);
    command.add_option("file", *file, "the configuration; - is standard input")->required();
    command.add_flag("--blob", *isBlob, "the file is the blob of a policy message");
    command.callback([all, file, isBlob, &deed] {
        deed = [all, file, isBlob] {
            return RunIfYes("import", *all, "this replaces the product's configuration",
                            [&](CSession& session) {
                                return ImportConfiguration(session, ReadGiven(*file), *isBlob);
                            });
        };
    });
}

void AddAnnounce(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto uuid = std::make_shared<std::string>();
    CLI::App& command = AddChange(
        app, "announce", "tells the product which agent's instance speaks to it: needs --yes", all);
    command.add_option("uuid", *uuid, "the instance")->required();
    command.callback([all, uuid, &deed] {
        deed = [all, uuid] {
            return RunIfYes("announce", *all, "this gives the product another instance",
                            [&](CSession& session) { return AnnounceInstance(session, *uuid); });
        };
    });
}

}  // namespace

void AddChangingCommands(CLI::App& app, Deed& deed) {
    AddKill(app, deed);
    AddBlock(app, deed);
    AddImport(app, deed);
    AddAnnounce(app, deed);
}

}  // namespace Kyr::Probe
