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

enum class Outcome {
    kAsExpected,
    kOtherwise,  // something was tried, and came out otherwise
    kNotTried,   // nothing was otherwise, but something could not be tried
};

class CFirstDay {
  public:
    /// Both streams must outlive this. `screen` gets every line of the report as it comes.
    CFirstDay(Plan plan, std::ostream& report, std::ostream& screen);

    /// Tries everything once and ends with an account of it.
    Outcome Run();

  private:
    struct Finished;  // how a program ended

    void TryContract();
    void TryContractTest(const std::string& test);
    std::vector<std::string> ContractTests();
    void TryDoctor();
    void TryLives();
    /// A product that starts stays registered on its system.
    void Uninstall();
    void Account();

    Finished Run(const std::string& program, const std::vector<std::string>& arguments,
                 std::chrono::milliseconds limit);
    std::string Program(const std::string& name) const;
    void Heading(const std::string& text);
    void Tell(const std::string& line);
    void TellOutput(const Finished& finished);
    void NotTried(const std::string& what);
    /// Whether a simulated product may serve here.
    bool MayServe() const { return plan_.missing.empty() && !plan_.isInstalled; }

    const Plan plan_;
    std::ostream& report_;
    std::ostream& screen_;
    std::vector<std::string> account_;  // the last part of the report, line by line
    std::size_t otherwise_ = 0;
    std::size_t notTried_ = 0;
};

}  // namespace Kyr::Lab::FirstDay
