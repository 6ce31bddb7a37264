#include "probe/commandline/FileCommands.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "probe/Input.h"
#include "probe/TaskIdentifiers.h"
#include "probe/decode/Decode.h"
#include "probe/decode/HexText.h"
#include "probe/decode/Payload.h"
#include "probe/explain/Explain.h"
#include "probe/session/System.h"
#include "probe/show/LayoutText.h"

namespace Kyr::Probe {

namespace {

struct DecodeOptions {
    std::string input = "-";
    std::string hex;
    bool isHexText = false;
    std::string kind;
    std::string command;
    bool json = false;
};

std::string BytesOf(const DecodeOptions& options) {
    if (!options.hex.empty()) {
        return FromHexText(options.hex);
    }
    if (options.input == "-") {
        UseBinaryInput();
    }
    std::string bytes = ReadInput(options.input);
    return options.isHexText ? FromHexText(bytes) : bytes;
}

int RunDecode(const DecodeOptions& options) {
    std::optional<std::uint32_t> command;
    if (!options.command.empty()) {
        command = CommandOf(options.command);
        if (!command) {
            std::cerr << "ovprobe: no command of the product: " << options.command << '\n';
            return kWrongUsage;
        }
    }
    const std::string bytes = BytesOf(options);
    if (bytes.empty()) {
        std::cerr << "ovprobe: there is nothing to take apart: no byte was given\n";
        return kWrongUsage;
    }
    const auto kind = options.kind.empty() ? GuessKind(bytes) : options.kind;
    if (!kind) {
        std::cerr << "ovprobe: cannot tell what this is: say it with --kind\n";
        return kWrongUsage;
    }
    const Layout layout = Decode(bytes, *kind, command);
    if (options.json) {
        std::cout << ToJson(layout) << '\n';
    } else {
        WriteTable(std::cout, layout);
    }
    return layout.IsSound() ? kFine : kSomethingFound;
}

void AddDecode(CLI::App& app, Deed& deed) {
    const auto options = std::make_shared<DecodeOptions>();
    CLI::App& decode = *app.add_subcommand(
        "decode", "takes bytes apart: offset, field, value, and what is wrong with it");
    decode.add_option("file", options->input, "a file; - is standard input, and the default");
    auto* const hex =
        decode.add_option("--hex", options->hex, "these bytes, in hexadecimal digits");
    decode.add_flag("--hex-text", options->isHexText, "the file has hexadecimal digits, or a dump")
        ->excludes(hex);
    decode.add_option("--kind", options->kind, "what it is; else that is guessed")
        ->check(CLI::IsMember(Kinds()));
    decode.add_option("--command", options->command,
                      "of a reply, what it answers: a name such as get-status, or a number");
    decode.add_flag("--json", options->json, "for programs");
    decode.callback([options, &deed] { deed = [options] { return RunDecode(*options); }; });
}

/// Takes one as people copy it, in braces or not. Tells what is wrong with it, if anything is.
std::string ReadIdentifier(std::string& given) {
    if (given.size() > 2 && given.front() == '{' && given.back() == '}') {
        given = given.substr(1, given.size() - 2);
    }
    return IsBeginOfUuid(given) ? "" : "no identifier of a task, and no beginning of one";
}

int RunExplain(const ExplainOptions& options) {
    const std::set<std::string> once(options.logs.begin(), options.logs.end());
    if (once.size() != options.logs.size()) {
        std::cerr << "ovprobe: a log is given twice, and all in it would be told twice\n";
        return kWrongUsage;
    }
    return Explain(options, std::cout) ? kFine : kSomethingFound;
}

void AddExplain(CLI::App& app, Deed& deed) {
    const auto options = std::make_shared<ExplainOptions>();
    CLI::App& explain = *app.add_subcommand(
        "explain", "the story in a host's log: connections, outages, what became of each task");
    explain.add_option("log", options->logs, "files, the oldest first; - is standard input")
        ->required();
    explain
        .add_option(
            "--task", options->task,
            "only the task with this identifier, or one that begins so: why is it not done?")
        ->transform(CLI::Validator(ReadIdentifier, ""));
    explain.add_option("--report", options->report,
                       "an HTML page to be made, which shows the log and all of the story");
    explain.add_flag("--json", options->json, "for programs");
    explain.callback([options, &deed] { deed = [options] { return RunExplain(*options); }; });
}

}  // namespace

void AddFileCommands(CLI::App& app, Deed& deed) {
    AddDecode(app, deed);
    AddExplain(app, deed);
}

}  // namespace Kyr::Probe
