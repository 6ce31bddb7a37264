// The simulated Ov agent as a program; README.md says how it is used.

#include <cstdint>
#include <iostream>
#include <optional>

#include "lab/common/Arguments.h"
#include "lab/common/CommandInput.h"
#include "lab/common/CommandWords.h"
#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/commands/AgentUuidCommand.h"
#include "lab/simproduct/commands/RecordCommands.h"
#include "lab/simproduct/commands/StatusCommands.h"
#include "lab/simproduct/commands/TransferCommands.h"
#include "lab/simproduct/commands/XmlCommands.h"
#include "lab/simproduct/desk/RequestDesk.h"
#include "lab/simproduct/ports/AlpcServer.h"
#include "lab/simproduct/ports/LpcServer.h"
#include "lab/simproduct/state/Registration.h"
#include "lab/simproduct/typed/AreaCommands.h"
#include "lab/simproduct/typed/ConfigurationCommands.h"
#include "lab/simproduct/typed/LiveCommands.h"
#include "lab/simproduct/typed/ProductConsole.h"
#include "lab/simproduct/typed/ProtectionCommands.h"
#include "lab/simproduct/typed/RecordListCommands.h"
#include "lab/simproduct/typed/RegistrationCommands.h"
#include "lab/simproduct/typed/ResultsCommands.h"
#include "portlayer/LiveCounters.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::SimProduct;

// Exit codes; scripts rely on them.
constexpr int kEndedWell = 0;
constexpr int kCannotStart = 1;
constexpr int kBadCommandLine = 2;
constexpr int kLeftSomethingBehind = 3;

constexpr char kUsage[] =
    "usage: simproduct [--victim=<program>] [--records=<file>] [--misbehave=\"<fault> ...\"]...\n"
    "                [--build=<n>|--not-installed] [--install-only] [--nothing-new] [--wire]\n"
    "                [--detached] [--colour=auto|always|never]\n"
    "Commands come on standard input, one a line; `help` lists them.\n";

struct Options {
    bool help = false;
    bool wire = false;
    bool detached = false;
    bool coloured = false;
    bool installOnly = false;
    bool nothingNew = false;
    std::optional<std::int32_t> build = kUsualBuild;
    std::string victim;
    std::optional<std::string> records;
    CMisbehaviours misbehaviours;
};

void ReadOptions(int argc, char** argv, Options& options) {
    CArguments arguments(argc, argv);
    options.help = arguments.TakeFlag("help");
    options.wire = arguments.TakeFlag("wire");
    options.detached = arguments.TakeFlag("detached");
    options.installOnly = arguments.TakeFlag("install-only");
    options.nothingNew = arguments.TakeFlag("nothing-new");
    if (const auto build = arguments.TakeValue("build")) {
        options.build = ParseBuild(*build);
    }
    if (arguments.TakeFlag("not-installed")) {
        options.build.reset();
    }
    options.coloured = TakeColour(arguments, OutputIsTerminal());
    options.victim =
        arguments.TakeValue("victim").value_or(OwnProgramFolder() + "/victim" KYR_PROGRAM_SUFFIX);
    options.records = arguments.TakeValue("records");
    for (const std::string& fault : arguments.TakeValues("misbehave")) {
        options.misbehaviours.Add(ParseMisbehaviour(SplitWords(fault)));
    }
    arguments.Finish();
}

/// Makes the registration what the command line says.
/// Errors: std::runtime_error.
void Register(IRegistration& registration, const Options& options) {
    if (options.build) {
        registration.Install(*options.build);
    } else {
        registration.Uninstall();
    }
}

/// Makes all values of the area what a connector that has read none takes for read (protocol).
void AnnounceNothing(CBroadcastArea& area) {
    for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
        area.SetValue(index, 0xFFFFFFFF);
    }
}

/// Carries out commands until one says to end, the input ends, or the system asks to end.
void ServeCommands(CCommandInput& input, CProductConsole& console, bool detached) {
    for (;;) {
        const CCommandInput::Event event = input.Next();
        switch (event.kind) {
            case CCommandInput::Kind::kLine:
                if (!console.Execute(event.line)) {
                    return;
                }
                break;
            case CCommandInput::Kind::kEndOfInput:
                if (!detached) {
                    return;
                }
                break;
            case CCommandInput::Kind::kTerminate:
                return;
            case CCommandInput::Kind::kWoken:
                break;
        }
    }
}

/// Everything that lives while the product serves.
/// Errors: std::runtime_error when it cannot start.
void Run(CCommandInput& input, Options& options, const LineSink& sink) {
    const std::unique_ptr<IRegistration> registration = SystemRegistration();
    const std::unique_ptr<IProcessLauncher> launcher = MakeSystemLauncher();
    CLabProcesses processes(*launcher, sink);
    CTaskResults results;
    CConfiguration configuration;
    CProtection protection(configuration);
    CTaskBook tasks(processes, results, sink);
    CRecordLists records = options.records ? CRecordLists(*options.records) : CRecordLists();
    const std::unique_ptr<IProcessTable> table = MakeSystemProcessTable();
    CLiveTelemetry telemetry(*table, records, Kyr::Base::SystemClock(), sink);
    const CInnerCommands commands(
        {XmlCommands(tasks), AgentUuidCommands(sink), StatusCommands(protection, results, sink),
         TransferCommands(configuration, sink), RecordCommands(records, sink)});
    CRequestDesk desk(commands, options.misbehaviours, Kyr::Base::SystemClock(), sink,
                      {options.wire, EndThisProcess});
    const RequestHandler answer = [&desk](const PortRequest& request) {
        return desk.Answer(request);
    };
    CAlpcServer alpc(answer, sink);
    CLpcServer lpc(answer, sink);
    CBroadcastArea area;
    CProductConsole console(
        {tasks, processes, options.misbehaviours, alpc, lpc, sink, options.victim},
        {RegistrationCommands(*registration, sink), AreaCommands(area, sink),
         ProtectionCommands(protection, sink), ResultsCommands(results, sink),
         ConfigurationCommands(configuration, sink),
         RecordListCommands(records, Kyr::Base::SystemClock(), sink),
         LiveCommands(telemetry, sink)});
    if (!options.installOnly) {
        area.Open();  // who finds a port open finds the area, too
        if (options.nothingNew) {
            AnnounceNothing(area);
        }
        console.OpenPorts();
    }
    Register(*registration, options);
    if (options.installOnly) {
        return;
    }
    sink(CLine("ready")
             .With("pid", OwnProcessId())
             .With("alpc", alpc.IsOpen() ? "open" : "closed")
             .With("lpc", lpc.IsOpen() ? "open" : "closed"));
    ServeCommands(input, console, options.detached);
    desk.Stop();
    processes.EndAll();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        ReadOptions(argc, argv, options);
    } catch (const std::exception& problem) {
        std::cerr << "simproduct: " << problem.what() << '\n' << kUsage;
        return kBadCommandLine;
    }
    if (options.help) {
        std::cout << kUsage;
        return kEndedWell;
    }
    CCommandInput input;
    CLineWriter writer(std::cout, SystemTimeOfDay, options.coloured);
    const LineSink sink = [&](const CLine& line) { writer.Write(line); };
    bool started = false;
    try {
        Run(input, options, sink);
        started = true;
    } catch (const std::exception& problem) {
        sink(CLine("error").With("text", problem.what()));
    }
    const Kyr::PortLayer::LiveCounters counters = Kyr::PortLayer::ReadLiveCounters();
    if (!counters.AllZero()) {
        sink(CLine("error").With("text", "left behind: " + counters.Text()));
        return kLeftSomethingBehind;
    }
    return started ? kEndedWell : kCannotStart;
}
