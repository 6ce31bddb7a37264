// labrunner: plays scenarios with the lab's programs and tells whether everything happened as
// expected.
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/common/Arguments.h"
#include "lab/common/CommandInput.h"
#include "lab/runner/Figures.h"
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
    paths.work = work ? *work : NewWorkFolder();
    paths.ports = (boost::filesystem::path(paths.work) / "ports").string();
    boost::filesystem::create_directories(paths.ports);
    boost::filesystem::permissions(paths.ports, boost::filesystem::owner_all);

    CScreen screen(std::cout, colour, detail);
    std::vector<StepResult> results;
    Figures figures;
    bool passed = true;
    for (std::size_t played = 0; played < files.size(); ++played) {
        RunnerPaths own = paths;
        const boost::filesystem::path stem = boost::filesystem::path(files[played]).stem();
        own.work = (boost::filesystem::path(paths.work) / stem).string();
        if (transcripts) {
            own.transcript =
                (boost::filesystem::path(*transcripts) / (stem.string() + ".txt")).string();
        }
        boost::filesystem::remove_all(own.work);
        CRunner runner(own, screen);
        passed = runner.Run(scenarios[played]) && passed;
        results.insert(results.end(), runner.Results().begin(), runner.Results().end());
        figures += runner.Sum();
    }
    screen.Table(results);
    screen.Show(figures);
    const auto left =
        boost::filesystem::path(paths.work) /
        (files.size() == 1 ? boost::filesystem::path(files.front()).stem().string() : "<scenario>");
    std::cout << "\nThe host's database and log and the transcript are left in " << left.string()
              << std::endl;
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
