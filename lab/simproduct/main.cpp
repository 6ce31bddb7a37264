// The simulated Ov agent as a program; README.md says how it is used.

#include <cstdint>
#include <iostream>
#include <optional>

#include <boost/dll/runtime_symbol_info.hpp>

#include "lab/common/CommandLine.h"
#include "lab/common/Console.h"
#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/SimulatedProduct.h"
#include "lab/simproduct/area/NamedMemory.h"
#include "lab/simproduct/recording/Recording.h"
#include "lab/simproduct/state/Registration.h"
#include "lab/simproduct/typed/TypedCommands.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/LiveCounters.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::SimProduct;

// Exit codes; scripts rely on them.
constexpr int kEndedWell = 0;
constexpr int kCannotStart = 1;
constexpr int kLeftSomethingBehind = 3;

struct Options {
    bool wire = false;
    bool native = false;
    bool coloured = false;
    bool installOnly = false;
    bool nothingNew = false;
    bool notInstalled = false;
    std::int32_t build = kUsualBuild;
    std::string victim =
        (boost::dll::program_location().parent_path() / "victim" KYR_PROGRAM_SUFFIX).string();
    std::string records;  // empty: without a file
    std::string replay;   // empty: nothing is replayed
    CMisbehaviours misbehaviours;
};

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app(
        "A simulated Ov agent that takes commands, one a line, on standard input; `help` "
        "lists them.",
        "simproduct");
    app.option_defaults()->take_last()->always_capture_default();
    app.add_option("--victim", options.victim, "the program that `start` starts");
    app.add_option("--records", options.records, "a file that keeps the records");
    app.add_option("--replay", options.replay,
                   "a recording of another product: its build, its area and its answers");
    app.add_option("--build", options.build, "the build number to register");
    app.add_flag("--not-installed", options.notInstalled, "takes the registration back");
    app.add_flag("--install-only", options.installOnly, "registers and ends");
    app.add_flag("--nothing-new", options.nothingNew,
                 "a connector that comes takes the broadcast area for read");
    app.add_flag("--wire", options.wire, "tells the bytes of requests and replies");
    app.add_flag("--native", options.native, "tells the bytes of connects and pings");
    app.add_option_function<std::vector<std::string>>(
           "--misbehave",
           [&](const std::vector<std::string>& faults) {
               for (const std::string& fault : faults) {
                   options.misbehaviours.Add(ParseMisbehaviour(SplitWords(fault)));
               }
           },
           "<fault> ...: as the command of that name; any number of times")
        ->take_all()
        ->allow_extra_args(false);
    const CColourOption colour(app);
    const std::optional<int> code = ReadCommandLine(app, argc, argv);
    options.coloured = colour.IsColoured();
    return code;
}

/// Makes all values of the area what a connector that has read none takes for read (protocol).
void AnnounceNothing(CBroadcastArea& area) {
    for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
        area.SetValue(index, 0xFFFFFFFF);
    }
}

/// Null when nothing is replayed. The product of a recording is installed as it was then.
/// Errors: std::runtime_error.
std::shared_ptr<CRecording> OpenRecording(Options& options) {
    if (options.replay.empty()) {
        return nullptr;
    }
    auto recording = std::make_shared<CRecording>(options.replay);
    options.notInstalled = !recording->Build();
    options.build = recording->Build().value_or(0);
    return recording;
}

/// Errors: std::runtime_error when the system's own ports are to be served, and are not there.
void RequirePorts() {
    const std::string missing = Kyr::PortLayer::MissingFunctions();
    if (!missing.empty()) {
        throw std::runtime_error("this system cannot serve the ports: ntdll.dll has no " + missing);
    }
}

/// Everything that lives while the product serves.
/// Errors: std::runtime_error when it cannot start.
void Run(CCommandInput& input, Options& options, const LineSink& sink) {
    const std::shared_ptr<CRecording> recording = OpenRecording(options);
    const std::unique_ptr<IProcessLauncher> launcher = MakeSystemLauncher();
    std::optional<COnlyProduct> onlyProduct;  // until the area is gone
    SimulatedProduct product(*launcher, options.misbehaviours, options.records,
                             {options.wire, EndThisProcess, recording}, sink);
    bool quit = false;
    CConsole console(
        {ProcessCommands(product.tasks, options.victim),
         FaultCommands(options.misbehaviours, *product.alpc, *product.lpc),
         AreaCommands(product.area),
         StateCommands(product.protection, product.results, product.configuration),
         RecordListCommands(product.records, product.telemetry, Kyr::Base::SystemClock(),
                            [&input] { return input.IsAskedToTerminate(); }),
         {{"quit", "", "Ends the lab processes and the product.",
           [&quit](CCommandWords& words, const LineSink& tell) {
               words.Finish();
               tell(AnswerTo("quit"));
               quit = true;
           }}}},
        sink);
    if (!options.installOnly) {
        RequirePorts();
        onlyProduct.emplace(OwnProcessId());
        product.area.Open(recording ? recording->Area()
                                    : Bytes());  // who finds a port open finds the area, too
        if (options.nothingNew) {
            AnnounceNothing(product.area);
        }
        OpenPorts(options.misbehaviours, *product.alpc, *product.lpc);
    }
    if (options.notInstalled) {
        Uninstall();
    } else {
        Install(options.build);
    }
    if (options.installOnly) {
        return;
    }
    sink(CLine("ready")
             .With("pid", OwnProcessId())
             .With("alpc", product.alpc->IsOpen() ? "open" : "closed")
             .With("lpc", product.lpc->IsOpen() ? "open" : "closed"));
    ObeyCommands(input, console, {[&] { return quit; }, [&] { quit = true; }, EndThisProcess});
    product.desk.Stop();
    product.processes.EndAll();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (const auto code = ReadOptions(argc, argv, options)) {
        return *code;
    }
    CCommandInput input;
    CLineWriter writer(std::cout, "standard output", SystemTimeOfDay, options.coloured);
    const LineSink sink = [&](const CLine& line) {
        if (options.native || line.Kind() != "native") {
            writer.Write(line);
        }
    };
    bool started = false;
    try {
        Run(input, options, sink);
        started = true;
    } catch (const std::exception& problem) {
        sink(CLine("error").With("text", problem.what()));
    }
    const std::string left = Kyr::PortLayer::LiveObjects();
    if (!left.empty()) {
        sink(CLine("error").With("text", "left behind: " + left));
        return kLeftSomethingBehind;
    }
    if (!started) {
        return kCannotStart;
    }
    return writer.HasFailed() ? kOutputLost : kEndedWell;
}
