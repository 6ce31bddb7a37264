// endurance [--cycles=<n>] [--tasks=<n>] [--seed=<n>] [--growth-kib=<n>]: README.md says what it
// does. Exit codes: 0 nothing found, 1 something found, 2 bad command line.

#include <Poco/Environment.h>
#include <iostream>

#include "lab/common/Arguments.h"
#include "lab/common/CommandWords.h"
#include "tests/endurance/Endurance.h"
#include "tests/support/system/TemporaryFolder.h"

namespace {

struct Options {
    std::uint64_t cycles = 100;
    std::uint64_t tasks = 1500;
    std::uint64_t seed = 1;
    std::uint64_t growthKiB = 0;
};

Options ReadOptions(int argc, char** argv) {
    Options options;
    Kyr::Lab::CArguments arguments(argc, argv);
    const auto take = [&](const char* name, std::uint64_t& value) {
        if (const auto text = arguments.TakeValue(name)) {
            value = Kyr::Lab::ParseNumber(*text);
        }
    };
    take("cycles", options.cycles);
    take("tasks", options.tasks);
    take("seed", options.seed);
    take("growth-kib", options.growthKiB);
    arguments.Finish();
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        options = ReadOptions(argc, argv);
    } catch (const std::exception& problem) {
        std::cerr << "endurance: " << problem.what() << '\n'
                  << "usage: endurance [--cycles=<n>] [--tasks=<n>] [--seed=<n>] "
                     "[--growth-kib=<n>]\n";
        return 2;
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
