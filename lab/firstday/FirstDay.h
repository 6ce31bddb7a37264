// What a person tries first on a system with ports of its own, and one report of it: the contract
// of the ports test by test, the probe's doctor beside a product, and lives of the unmodified
// library.
//
// Everything runs in processes of its own and within a time, so that a port that never answers is a
// line of the report and not its end.
// Threads: one. Errors: what cannot be started or does not end is told; std::ios_base::failure from
// the report's stream when that was asked for.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

namespace Kyr::Lab::FirstDay {

struct Plan {
    std::string programs;  // the folder with the programs
    std::string library;   // the connector library
    std::string scenarioFolder;
    std::vector<std::string> scenarios;  // played in this order, without ".scenario"
    std::string missing;  // functions of the ports that the system lacks; empty: none
    /// A product is registered on this computer: the simulated one must not take its place.
    bool isInstalled = false;
    std::chrono::milliseconds testLimit{std::chrono::seconds(30)};    // of one contract test
    std::chrono::milliseconds doctorLimit{std::chrono::seconds(60)};  // also of the product's start
    std::chrono::milliseconds lifeLimit{std::chrono::minutes(5)};
};

/// The exit codes of the program; scripts rely on them.
enum class Outcome {
    kAsExpected = 0,
    kOtherwise = 1,  // something was tried, and came out otherwise
    kNoReport = 2,   // nobody can read what came out; the program's own, no outcome of TryAll
    kNotTried = 3,   // nothing was otherwise, but something could not be tried
};

/// Tries everything once and ends with an account of it. `screen` gets every line of the report as
/// it comes.
Outcome TryAll(const Plan& plan, std::ostream& report, std::ostream& screen);

}  // namespace Kyr::Lab::FirstDay
