// Kills host and product again and again while records flow, and keeps account of what comes.
//
// Threads: Run blocks; several worlds are killed at the same time, each by a thread of its own.
// Errors: what goes wrong in a world ends that world and stands in its report.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "lab/crashtest/World.h"
#include "lab/runner/WorkFolder.h"

namespace Kyr::Lab::CrashTest {

struct CrashPlan {
    Runner::Stage stage;  // every world has its ports and files below a folder of its own
    std::uint64_t seed = 1;
    int randomKills = 200;  // of the host, at random moments
    int bothKills = 40;     // of host and product within a few milliseconds
    int productKills = 6;   // of the product alone; the host waits ten seconds each time
};

/// What happened in one world, or in several.
struct CrashReport {
    std::array<RecordCounts, 3> records;  // in the order of kKinds
    int stepKills = 0;
    int randomKills = 0;
    int bothKills = 0;
    int productKills = 0;
    std::vector<std::string> problems;

    void Add(const CrashReport& other);
};

CrashReport Run(const CrashPlan& plan, const Runner::CWorkFolder& folder);

}  // namespace Kyr::Lab::CrashTest
