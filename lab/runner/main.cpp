// labrunner: plays scenarios with the lab's programs and tells whether everything happened as
// expected.
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/common/Arguments.h"
#include "lab/common/CommandInput.h"
#include "lab/runner/Figures.h"
#include "lab/runner/Interruption.h"
#include "lab/runner/ReadFile.h"
#include "lab/runner/Runner.h"
#include "lab/runner/Scenario.h"
#include "lab/runner/Screen.h"
#include "lab/runner/WorkFolder.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::Runner;

constexpr const char* kUsage =
    "usage: labrunner --programs=DIR --library=FILE [--work=DIR] [--host-option=OPTION]... "
    "[--transcripts=DIR] [--quiet] [--colour=auto|always|never] SCENARIO...\n";

/// Reads them all, so that one that is none ends the run before anything has been played.
std::vector<Scenario> ReadScenarios(const std::vector<std::string>& files) {
    std::vector<Scenario> scenarios;
    for (const std::string& file : files) {
        try {
            scenarios.push_back(ParseScenario(ReadFile(file)));
        } catch (const CScenarioError& e) {
            throw std::runtime_error(file + ": " + e.what());
        }
    }
    return scenarios;
}

/// Date, version and command line.
std::string Heading(int argc, char** argv) {
    const auto now = boost::posix_time::second_clock::universal_time();
    std::string heading =
        boost::posix_time::to_iso_extended_string(now) + "Z labrunner " KYR_VERSION ":";
    for (int at = 0; at < argc; ++at) {
        heading += std::string(" ") + argv[at];
    }
    return heading;
}

int Run(int argc, char** argv) {
    CArguments arguments(argc, argv);
    const bool colour = TakeColour(arguments, OutputIsTerminal());
    const auto detail =
        arguments.TakeFlag("quiet") ? CScreen::Detail::kResults : CScreen::Detail::kEverything;
    RunnerPaths paths;
    paths.programs = arguments.TakeValue("programs").value_or("");
    paths.library = arguments.TakeValue("library").value_or("");
    const auto work = arguments.TakeValue("work");
    paths.hostOptions = arguments.TakeValues("host-option");
    const auto transcripts = arguments.TakeValue("transcripts");
    const std::vector<std::string> files = arguments.TakeWords();
    arguments.Finish();
    if (paths.programs.empty() || paths.library.empty() || files.empty()) {
        std::cerr << kUsage;
        return 2;
    }

    const std::vector<Scenario> scenarios = ReadScenarios(files);
    CWorkFolder folder(work);
    paths.ports = folder.EmptyFolder("ports");
    paths.heading = Heading(argc, argv);
    CScreen screen(std::cout, colour, detail);
    const CInterruption interruption;
    std::vector<StepResult> results;
    Figures figures;
    bool passed = true;
    for (std::size_t at = 0; at < files.size() && !CInterruption::Asked(); ++at) {
        const std::string stem = boost::filesystem::path(files[at]).stem().string();
        paths.work = folder.EmptyFolder(stem);
        if (transcripts) {
            paths.transcript = (boost::filesystem::path(*transcripts) / (stem + ".txt")).string();
        }
        CRunner runner(paths, screen);
        passed = runner.Run(scenarios[at]) && passed;
        results.insert(results.end(), runner.Results().begin(), runner.Results().end());
        figures += runner.Sum();
    }
    passed = passed && !CInterruption::Asked();
    screen.Table(results);
    screen.Show(figures);
    if (!passed) {
        folder.Keep();
    }
    if (!folder.GoesAway()) {
        std::cout << "\nThe host's database and log and the transcript are left in "
                  << (files.size() == 1 ? paths.work : folder.File("<scenario>")) << std::endl;
    }
    return passed ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "labrunner: " << e.what() << "\n";
        return 2;
    }
}
