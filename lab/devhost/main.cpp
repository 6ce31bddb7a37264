// devhost: a small host of its own process that loads the connector library and takes commands on
// standard input. See README.md.
#include <cerrno>
#include <exception>
#include <fstream>
#include <iostream>
#include <system_error>

#include "lab/common/CommandLine.h"
#include "lab/common/EndThisProcess.h"
#include "lab/devhost/Host.h"
#include "lab/devhost/ModuleLoader.h"
#include "lab/devhost/Ports.h"
#include "lab/devhost/printing/MemoryUse.h"
#include "lab/devhost/printing/OnDemand.h"

namespace {

namespace Lab = Kyr::Lab;
using Lab::DevHost::CHost;

// Exit codes; scripts rely on them.
constexpr int kEndedWell = 0;
constexpr int kCannotStart = 1;
using Lab::kOutputLost;
constexpr int kDatabaseFailed = 5;

struct Options {
    Lab::DevHost::HostSettings host{"devhost.db"};
    std::string libraryPath;
    bool portLayer = false;
    bool memory = false;
    std::string logPath = "devhost.log";
    bool coloured = false;
};

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app(
        "A small host that loads the connector library and takes commands, one a line, on "
        "standard input; `help` lists them.",
        "devhost");
    Lab::DevHost::HostSettings& host = options.host;
    app.option_defaults()->take_last()->always_capture_default();
    app.add_option("--library", options.libraryPath, "the connector library")->required();
    app.add_option("--database", host.databasePath, "the database's file");
    app.add_option("--log", options.logPath, "the log's file, which only grows");
    app.add_flag("--port-layer", options.portLayer,
                 "the library takes its ports from this program");
    app.add_flag("--memory", options.memory, "tells memory before and after the library is loaded");
    app.add_option_function<std::string>(
        "--die-at",
        [&](const std::string& text) { host.dieAt = Lab::DevHost::ParseDeathWish(text); },
        "<step>[:<n>]: ends at a collection's n-th such step, as if killed");
    app.add_option_function<std::string>(
        "--tell", [&](const std::string& kinds) { host.told = Lab::DevHost::ParseDemand(kinds); },
        "<kind>,...: tells these events, too");
    app.add_option("--instance", host.instance, "the agent's instance identifier; else its own");
    app.add_flag("--by-hand", host.byHand, "the module's life is left to the command `life`");
    const Lab::CColourOption colour(app);
    const std::optional<int> code = Lab::ReadCommandLine(app, argc, argv);
    options.coloured = colour.IsColoured();
    return code;
}

int Run(const Options& options, Lab::CCommandInput& input) {
    std::ofstream logFile;
    Lab::CLineWriter console(std::cout, "standard output", Lab::SystemTimeOfDay, options.coloured);
    Lab::CLineWriter log(logFile, "the log file " + options.logPath, Lab::SystemTimeOfDay, false);
    const auto tell = [&](const Lab::CLine& line) { console.Write(line); };
    const auto tellMemory = [&](const char* when) {
        if (options.memory) {
            tell(Lab::DevHost::MemoryLine(when));
        }
    };
    tellMemory("before-loading");
    // Before the database: a library that is none leaves no file behind.
    Lab::DevHost::CModuleLoader loader(options.libraryPath);
    tellMemory("loaded");
    if (options.portLayer) {
        Lab::DevHost::TakePortsFromLayer(options.libraryPath);
    }
    CHost host(
        options.host, [&] { return loader.Create(); }, tell,
        [&](const Lab::CLine& line) { log.Write(line); });
    logFile.open(options.logPath, std::ios::app);
    if (!logFile) {
        throw std::runtime_error("cannot open the log file " + options.logPath + ": " +
                                 std::generic_category().message(errno));
    }
    if (!host.Start()) {
        return kCannotStart;
    }
    host.Obey(input, Lab::EndThisProcess);
    if (!host.DatabaseFailure().empty()) {
        throw Lab::DevHost::CDatabaseError(host.DatabaseFailure());
    }
    return console.HasFailed() || log.HasFailed() ? kOutputLost : kEndedWell;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (const auto code = ReadOptions(argc, argv, options)) {
        return *code;
    }
    try {
        Lab::CCommandInput input;
        return Run(options, input);
    } catch (const Lab::DevHost::CDatabaseError& exception) {
        std::cerr << "devhost: " << exception.what() << '\n';
        return kDatabaseFailed;
    } catch (const std::exception& exception) {
        std::cerr << "devhost: " << exception.what() << '\n';
        return kCannotStart;
    }
}
