// crashtest: kills host and product at every step of a collection and at random moments, and tells
// what that cost. See README.md.
#include <iostream>
#include <random>

#include <boost/format.hpp>

#include "lab/common/CommandLine.h"
#include "lab/crashtest/CrashTest.h"
#include "lab/runner/WorkFolder.h"

namespace {

using namespace Kyr::Lab;
using namespace Kyr::Lab::CrashTest;

// Exit codes; scripts rely on them.
constexpr int kNothingLost = 0;
constexpr int kSomethingWrong = 1;

std::optional<int> ReadPlan(int argc, char** argv, CrashPlan& plan,
                            std::optional<std::string>& work) {
    CLI::App app("Kills host and product while records flow, and tells what that cost.",
                 "crashtest");
    std::optional<std::uint64_t> seed;
    app.option_defaults()->take_last()->always_capture_default();
    app.add_option("--programs", plan.stage.programs, "the folder of the lab's programs")
        ->required();
    app.add_option("--library", plan.stage.library, "the connector library")->required();
    app.add_option("--work", work, "a folder for databases and logs; else a new one");
    app.add_option("--seed", seed, "of the random moments; else a new one");
    app.add_option("--kills", plan.randomKills, "of the host, at random moments");
    app.add_option("--both-kills", plan.bothKills, "of host and product");
    app.add_option("--product-kills", plan.productKills, "of the product alone");
    app.add_option("--host-option", plan.stage.hostOptions, "an option for every host; many times")
        ->take_all()
        ->allow_extra_args(false);
    const std::optional<int> code = ReadCommandLine(app, argc, argv);
    plan.seed = seed ? *seed : std::random_device()();
    return code;
}

void Print(const CrashReport& report) {
    constexpr char kRow[] = "%-12s%8s%8s%8s%8s%20s\n";
    std::cout << "Kills: of the host " << report.stepKills << " at steps, " << report.randomKills
              << " at random; of both " << report.bothKills << "; of the product alone "
              << report.productKills << "\n\n"
              << boost::format(kRow) % "records" % "sent" % "stored" % "twice" % "lost" %
                     "batches in flight";
    for (std::size_t i = 0; i < report.records.size(); ++i) {
        const RecordCounts& counts = report.records[i];
        std::cout << boost::format(kRow) % kKinds[i].name % counts.sent % counts.stored %
                         counts.twice % counts.lost % counts.inFlight;
    }
    for (const std::string& problem : report.problems) {
        std::cout << "\nWRONG  " << problem;
    }
    std::cout << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        CrashPlan plan;
        std::optional<std::string> work;
        if (const auto code = ReadPlan(argc, argv, plan, work)) {
            return *code;
        }
        Runner::CWorkFolder folder(work);
        std::cout << "Seed " << plan.seed << ", databases and logs in " << folder.Path()
                  << std::endl;
        const CrashReport report = Run(plan, folder);
        Print(report);
        if (!report.problems.empty()) {
            folder.Keep();
            return kSomethingWrong;
        }
        return kNothingLost;
    } catch (const std::exception& e) {
        std::cerr << "crashtest: " << e.what() << '\n';
        return kBadCommandLine;
    }
}
