// firstday: what a person with a Windows machine and nothing else runs, and the one file to send
// back.
#include <Poco/Environment.h>
#include <fstream>
#include <iostream>
#include <string>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/filesystem/path.hpp>

#include "lab/common/CommandLine.h"
#include "lab/firstday/FirstDay.h"
#include "module/ProductBuildReader.h"
#include "portlayer/Diagnostics.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::FirstDay;

/// Also when there is something in its place that nobody can read.
bool IsProductInstalled() {
    try {
        return Kyr::Connectors::OvAgentConnector::SystemProductBuildReader()->Read().has_value();
    } catch (const std::exception&) {
        return true;
    }
}

/// Version, time and system.
std::string FirstLine() {
    const auto now = boost::posix_time::second_clock::universal_time();
    return "The first day of the Ov agent connector " KYR_VERSION ", " +
           boost::posix_time::to_iso_extended_string(now) + "Z, on " +
           Poco::Environment::osDisplayName() + " (" + Poco::Environment::osVersion() + ", " +
           Poco::Environment::osArchitecture() + ")";
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Tries the ports of this system with the lab's programs, for about ten minutes, and writes "
        "one report. For a machine without the product, by an administrator: a simulated product "
        "is registered, and taken back at the end.",
        "firstday");
    const std::string folder = boost::dll::program_location().parent_path().string();
    Plan plan{folder,
              folder + "/OvAgentConnector.dll",
              folder + "/scenarios",
              {"1-kill", "4-old-port", "6-records", "9-policy"},
              {}};
    std::string file = "first-day.txt";
    app.option_defaults()->take_last()->always_capture_default();
    app.add_option("--programs", plan.programs, "the folder of the programs");
    app.add_option("--library", plan.library, "the connector library");
    app.add_option("--scenarios", plan.scenarioFolder, "the folder of the scenarios");
    app.add_option("--report", file, "the file to write");
    if (const std::optional<int> code = ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    std::ofstream report(file);
    if (!report) {
        std::cerr << "firstday: cannot write " << file << '\n';
        return static_cast<int>(Outcome::kNoReport);
    }
    report << FirstLine() << '\n';
    std::cout << FirstLine() << std::endl;
    plan.missing = Kyr::PortLayer::MissingFunctions();
    plan.isInstalled = IsProductInstalled();
    const Outcome outcome = TryAll(plan, report, std::cout);
    report.close();
    if (!report) {
        std::cerr << "firstday: lines of " << file << " were lost\n";
        return static_cast<int>(Outcome::kNoReport);
    }
    std::cout << "\nPlease send this file back: " << boost::filesystem::absolute(file).string()
              << std::endl;
    return static_cast<int>(outcome);
}
