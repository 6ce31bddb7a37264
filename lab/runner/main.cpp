// labrunner: plays scenarios with the lab's programs and tells whether everything happened as
// expected.
#include <cstddef>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/algorithm/string/join.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/common/CommandLine.h"
#include "lab/runner/Figures.h"
#include "lab/runner/Interruption.h"
#include "lab/runner/ReadFile.h"
#include "lab/runner/Runner.h"
#include "lab/runner/Scenario.h"
#include "lab/runner/Screen.h"
#include "lab/runner/WorkFolder.h"
#include "lab/runner/life/LifeBook.h"
#include "lifepage/LifePage.h"

namespace {

namespace LifePage = Kyr::LifePage;
using namespace Kyr::Lab;
using namespace Kyr::Lab::Runner;

struct Options {
    Stage stage;
    std::optional<std::string> work;  // nothing: a new folder
    std::string transcripts;          // empty: none are compared
    std::string report;               // the page to be written; empty: none
    std::vector<std::string> files;
    bool quiet = false;
    bool coloured = false;
};

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app(
        "Plays scenarios with the lab's programs, and tells whether everything happened as "
        "expected.",
        "labrunner");
    Stage& stage = options.stage;
    app.option_defaults()->take_last()->always_capture_default();
    app.add_option("--programs", stage.programs, "the folder of the lab's programs")->required();
    app.add_option("--library", stage.library, "the connector library")->required();
    app.add_option("--work", options.work, "a folder for what the programs leave; else a new one");
    app.add_option("--transcripts", options.transcripts, "a folder of transcripts to compare with");
    app.add_option("--report", options.report,
                   "an HTML page to be written, which shows what was played");
    app.add_option("--product", stage.product, "the program that plays the product");
    app.add_option("--host-option", stage.hostOptions, "an option for every host; many times")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--quiet", options.quiet, "prints results only");
    app.add_option("SCENARIO", options.files, "the scenarios, played in this order")
        ->required()
        ->take_all();
    const CColourOption colour(app);
    const std::optional<int> code = ReadCommandLine(app, argc, argv);
    options.coloured = colour.IsColoured();
    return code;
}

/// Reads them all, so that one that is none ends the run before anything has been played.
std::vector<Scenario> ReadScenarios(const std::vector<std::string>& files) {
    std::vector<Scenario> scenarios;
    for (const std::string& file : files) {
        const std::string text = ReadFile(file);
        try {
            scenarios.push_back(ParseScenario(text));
        } catch (const std::runtime_error& e) {
            throw std::runtime_error(file + ": " + e.what());
        }
    }
    return scenarios;
}

/// Date, version and command line.
std::string Heading(int argc, char** argv) {
    const auto now = boost::posix_time::second_clock::universal_time();
    return boost::posix_time::to_iso_extended_string(now) + "Z labrunner " KYR_VERSION ": " +
           boost::algorithm::join(std::vector<std::string>(argv, argv + argc), " ");
}

int Run(const Options& options, const std::string& heading) {
    Stage stage = options.stage;
    RunOptions how;
    const std::vector<std::string>& files = options.files;
    const std::vector<Scenario> scenarios = ReadScenarios(files);
    CWorkFolder folder(options.work);
    stage.ports = folder.EmptyFolder("ports");
    how.wire = !options.report.empty();
    CScreen screen(std::cout, options.coloured,
                   options.quiet ? CScreen::Detail::kResults : CScreen::Detail::kEverything);
    const CInterruption interruption;
    std::vector<PlayedSteps> played;
    std::vector<LifePage::Life> lives;
    Figures figures;
    bool passed = true;
    for (std::size_t at = 0; at < files.size() && !CInterruption::Asked(); ++at) {
        const std::string stem = boost::filesystem::path(files[at]).stem().string();
        stage.work = folder.EmptyFolder(stem);
        if (!options.transcripts.empty()) {
            how.transcript =
                (boost::filesystem::path(options.transcripts) / (stem + ".txt")).string();
        }
        CLifeBook book(stage.File("transcript.txt"), scenarios[at].title, heading);
        // The hosts append to it.
        std::ofstream(stage.HostLog(), std::ios::app) << "# " << heading << '\n';
        passed = PlayScenario(scenarios[at], stage, how, screen, book) && passed;
        played.emplace_back(scenarios[at].title, book.Steps());
        figures += book.Sum();
        if (!options.report.empty()) {
            lives.push_back(book.Life());
        }
    }
    passed = passed && !CInterruption::Asked();
    screen.Table(played);
    screen.Show(figures);
    if (!passed) {
        folder.Keep();
    }
    if (!folder.GoesAway()) {
        std::cout << "\nThe host's database and log and the transcript are left in "
                  << (files.size() == 1 ? stage.work : folder.File("<scenario>")) << std::endl;
    }
    if (!options.report.empty()) {
        LifePage::WritePage(options.report, lives);
        std::cout << "\nTo look at in a browser: "
                  << boost::filesystem::absolute(options.report).string() << std::endl;
    }
    return passed ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        const std::optional<int> code = ReadOptions(argc, argv, options);
        return code ? *code : Run(options, Heading(argc, argv));
    } catch (const std::exception& e) {
        std::cerr << "labrunner: " << e.what() << "\n";
        return kBadCommandLine;
    }
}
