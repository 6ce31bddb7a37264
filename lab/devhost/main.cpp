// devhost: a small host of its own process that loads the connector library and takes commands on
// standard input. See README.md.
#include <exception>
#include <fstream>
#include <iostream>

#include "lab/common/Arguments.h"
#include "lab/common/CommandInput.h"
#include "lab/devhost/Host.h"

namespace {

namespace Lab = Kyr::Lab;
using Lab::DevHost::CHost;

constexpr char kUsage[] =
    "usage: devhost --library=<file> [--database=<file>] [--log=<file>] "
    "[--colour=never|always|auto]";

struct COptions {
    Lab::DevHost::CHostSettings host;
    std::string logPath;
    bool coloured = false;
};

COptions ReadOptions(int argc, const char* const* argv) {
    Lab::CArguments arguments(argc, argv);
    COptions options;
    const auto library = arguments.TakeValue("library");
    if (!library) {
        throw std::invalid_argument(kUsage);
    }
    options.host.libraryPath = *library;
    options.host.databasePath = arguments.TakeValue("database").value_or("devhost.db");
    options.logPath = arguments.TakeValue("log").value_or("devhost.log");
    options.coloured = Lab::TakeColour(arguments, Lab::OutputIsTerminal());
    arguments.Finish();
    return options;
}

void ObeyCommands(Lab::CCommandInput& input, CHost& host) {
    while (!host.IsQuitting()) {
        const Lab::CCommandInput::CEvent event = input.Next();
        if (event.kind != Lab::CCommandInput::Kind::Line) {
            return;
        }
        host.Execute(event.line);
    }
}

int Run(const COptions& options, Lab::CCommandInput& input) {
    std::ofstream logFile(options.logPath, std::ios::app);
    if (!logFile) {
        throw std::runtime_error("cannot open the log file " + options.logPath);
    }
    Lab::CLineWriter console(std::cout, Lab::SystemTimeOfDay, options.coloured);
    Lab::CLineWriter log(logFile, Lab::SystemTimeOfDay, false);
    CHost host(
        options.host, [&](const Lab::CLine& line) { console.Write(line); },
        [&](const Lab::CLine& line) { log.Write(line); });
    if (!host.Start()) {
        return 1;
    }
    ObeyCommands(input, host);
    host.Stop();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const COptions options = ReadOptions(argc, argv);
        Lab::CCommandInput input;
        return Run(options, input);
    } catch (const std::exception& exception) {
        std::cerr << "devhost: " << exception.what() << std::endl;
        return 1;
    }
}
