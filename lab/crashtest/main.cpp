// crashtest: kills host and product at every step of a collection and at random moments, and tells
// what that cost. See README.md.
#include <csignal>
#include <iomanip>
#include <iostream>
#include <random>

#include <boost/filesystem/path.hpp>

#include "lab/common/Arguments.h"
#include "lab/common/CommandWords.h"
#include "lab/crashtest/CrashTest.h"
#include "lab/runner/WorkFolder.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::CrashTest;

// Exit codes; scripts rely on them.
constexpr int kNothingLost = 0;
constexpr int kSomethingWrong = 1;
constexpr int kBadCommandLine = 2;

constexpr char kUsage[] =
    "usage: crashtest --programs=DIR --library=FILE [--work=DIR] [--seed=N] [--kills=N]\n"
    "                 [--both-kills=N] [--product-kills=N] [--host-option=OPTION]...\n";

void TakeCount(CArguments& arguments, const char* name, int& count) {
    if (const auto text = arguments.TakeValue(name)) {
        count = static_cast<int>(ParseNumber(*text));
    }
}

std::string Needed(CArguments& arguments, const char* name) {
    const auto value = arguments.TakeValue(name);
    if (!value) {
        throw std::invalid_argument(std::string("--") + name + " is missing");
    }
    return *value;
}

CrashPlan ReadPlan(CArguments& arguments) {
    CrashPlan plan;
    const boost::filesystem::path folder = Needed(arguments, "programs");
    plan.programs.product = (folder / ("simproduct" KYR_PROGRAM_SUFFIX)).string();
    plan.programs.host = (folder / ("devhost" KYR_PROGRAM_SUFFIX)).string();
    plan.programs.library = Needed(arguments, "library");
    plan.programs.hostOptions = arguments.TakeValues("host-option");
    const auto work = arguments.TakeValue("work");
    const auto seed = arguments.TakeValue("seed");
    plan.seed = seed ? ParseNumber(*seed) : std::random_device()();
    TakeCount(arguments, "kills", plan.randomKills);
    TakeCount(arguments, "both-kills", plan.bothKills);
    TakeCount(arguments, "product-kills", plan.productKills);
    arguments.Finish();
    plan.work = work ? *work : Runner::NewWorkFolder();
    return plan;
}

void Print(const CrashReport& report) {
    std::cout << "Kills: of the host " << report.stepKills << " at steps, " << report.randomKills
              << " at random; of both " << report.bothKills << "; of the product alone "
              << report.productKills << "\n\n"
              << std::left << std::setw(12) << "records" << std::right << std::setw(8) << "sent"
              << std::setw(8) << "stored" << std::setw(8) << "twice" << std::setw(8) << "lost"
              << std::setw(20) << "batches in flight"
              << "\n";
    for (std::size_t i = 0; i < report.rows.size(); ++i) {
        const CrashReport::Row& row = report.rows[i];
        std::cout << std::left << std::setw(12) << kKinds[i].name << std::right << std::setw(8)
                  << row.sent << std::setw(8) << row.stored << std::setw(8) << row.twice
                  << std::setw(8) << row.lost << std::setw(20) << row.inFlight << "\n";
    }
    for (const std::string& problem : report.problems) {
        std::cout << "\nWRONG  " << problem;
    }
    std::cout << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
    // A command to a program that has just been killed is lost, and that is all.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    CrashPlan plan;
    try {
        CArguments arguments(argc, argv);
        plan = ReadPlan(arguments);
    } catch (const std::exception& problem) {
        std::cerr << "crashtest: " << problem.what() << '\n' << kUsage;
        return kBadCommandLine;
    }
    std::cout << "Seed " << plan.seed << ", databases and logs in " << plan.work << std::endl;
    const CrashReport report = Run(plan);
    Print(report);
    return report.problems.empty() ? kNothingLost : kSomethingWrong;
}
