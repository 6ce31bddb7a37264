// Looks into an endpoint with the connector's own code; README.md says what each command tells.
#include <cstdlib>
#include <exception>
#include <iostream>

#include "lab/common/CommandLine.h"
#include "probe/commandline/ChangingCommands.h"
#include "probe/commandline/ExaminingCommands.h"
#include "probe/commandline/FileCommands.h"
#include "probe/commandline/ReadingCommands.h"
#include "probe/session/TimeLimit.h"
#include "probe/show/Report.h"

using namespace Kyr::Probe;

int main(int argc, char** argv) {
    CLI::App app("Looks into an endpoint with the connector's own code.", "ovprobe");
    app.set_version_flag("--version", "ovprobe " KYR_VERSION);
    app.require_subcommand(1);
    app.footer(
        "A task is not done? `ovprobe explain --task ID host.log` says why, and\n"
        "`ovprobe doctor --log host.log --database host.db` what else is wrong.\n"
        "Exit codes: 0 fine, 1 something was found, 2 wrong usage, 3 the product was not reached.");
    Deed deed;
    AddExaminingCommands(app, deed);
    AddReadingCommands(app, deed);
    AddChangingCommands(app, deed);
    AddFileCommands(app, deed);
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    int code = kWrongUsage;
    try {
        code = deed();
    } catch (const std::exception& problem) {
        std::cerr << "ovprobe: " << problem.what() << '\n';
    }
    if (IsWorkLeftBehind()) {
        std::cout.flush();
        std::_Exit(code);
    }
    return code;
}
