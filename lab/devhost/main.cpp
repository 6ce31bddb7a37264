// devhost: a small host of its own process that loads the connector library and takes commands on
// standard input. See README.md.
#include <exception>
#include <fstream>
#include <iostream>

#include "lab/common/Arguments.h"
#include "lab/common/CommandInput.h"
#include "lab/common/EndThisProcess.h"
#include "lab/devhost/Host.h"

namespace {

namespace Lab = Kyr::Lab;
using Lab::DevHost::CHost;

// Exit codes; scripts rely on them.
constexpr int kEndedWell = 0;
constexpr int kCannotStart = 1;
constexpr int kBadCommandLine = 2;

constexpr char kUsage[] =
    "usage: devhost --library=<file> [--database=<file>] [--log=<file>]\n"
    "               [--port-layer] [--memory] [--die-at=<step>[:<n>]]\n"
    "               [--colour=auto|always|never]\n"
    "Commands come on standard input, one a line; `help` lists them.\n";

struct Options {
    Lab::DevHost::HostSettings host;
    std::string logPath;
    bool coloured = false;
};

void ReadOptions(Lab::CArguments& arguments, Options& options) {
    const auto library = arguments.TakeValue("library");
    if (!library) {
        throw std::invalid_argument("--library is missing");
    }
    options.host.libraryPath = *library;
    options.host.databasePath = arguments.TakeValue("database").value_or("devhost.db");
    options.host.portLayer = arguments.TakeFlag("port-layer");
    options.host.memory = arguments.TakeFlag("memory");
    if (const auto dieAt = arguments.TakeValue("die-at")) {
        options.host.dieAt = Lab::DevHost::ParseDeathWish(*dieAt);
    }
    options.logPath = arguments.TakeValue("log").value_or("devhost.log");
    options.coloured = Lab::TakeColour(arguments, Lab::OutputIsTerminal());
    arguments.Finish();
}

int Run(const Options& options, Lab::CCommandInput& input) {
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
        return kCannotStart;
    }
    host.Obey(input, Lab::EndThisProcess);
    return kEndedWell;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        Lab::CArguments arguments(argc, argv);
        if (arguments.TakeFlag("help")) {
            std::cout << kUsage;
            return kEndedWell;
        }
        ReadOptions(arguments, options);
    } catch (const std::exception& exception) {
        std::cerr << "devhost: " << exception.what() << '\n' << kUsage;
        return kBadCommandLine;
    }
    try {
        Lab::CCommandInput input;
        return Run(options, input);
    } catch (const std::exception& exception) {
        std::cerr << "devhost: " << exception.what() << '\n';
        return kCannotStart;
    }
}
