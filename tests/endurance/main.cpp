// endurance: README.md says what it does, --help how. Exit codes: 0 nothing found, 1 something
// found, 2 bad command line.

#include <Poco/Environment.h>
#include <iostream>

#include "lab/common/CommandLine.h"
#include "tests/endurance/Endurance.h"
#include "tests/support/system/TemporaryFolder.h"

namespace {

struct Options {
    std::uint64_t cycles = 100;
    std::uint64_t tasks = 1500;
    std::uint64_t seed = 1;
    std::uint64_t growthKiB = 0;
};

std::optional<int> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app("The real module for a long time.", "endurance");
    app.option_defaults()->always_capture_default();
    app.add_option("--cycles", options.cycles, "starts and stops of the module");
    app.add_option("--tasks", options.tasks, "tasks while the product fails at random");
    app.add_option("--seed", options.seed, "of what is random");
    app.add_option("--growth-kib", options.growthKiB, "memory that may be gained");
    return Kyr::Lab::ReadCommandLine(app, argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (const auto code = ReadOptions(argc, argv, options)) {
        return *code;
    }
    const Kyr::Test::CTemporaryFolder folder;
    Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder.File("run"));
    std::cout << "seed " << options.seed << '\n';
    Kyr::Endurance::CEndurance endurance(options.seed, options.growthKiB);
    if (options.cycles != 0) {
        endurance.RunCycles(options.cycles);
    }
    if (options.tasks != 0) {
        endurance.RunTasks(options.tasks);
    }
    endurance.ExpectNothingLeft();
    return endurance.Problems() == 0 ? 0 : 1;
}
