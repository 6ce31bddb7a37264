#include "lab/firstday/FirstDay.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "lab/runner/Actor.h"

namespace Kyr::Lab::FirstDay {

namespace {

using Runner::CActor;

constexpr const char* kContract = "portcontract";
constexpr const char* kProduct = "simproduct-system";
constexpr const char* kProbe = "ovprobe";
constexpr const char* kRunner = "labrunner";

/// A line as its program wrote it. What looks like an event of the lab was taken for one.
std::string Written(const TimedLine& line) {
    const std::string* const text = line.line.Find("text");
    return line.time.empty() && text != nullptr ? *text : line.time + ' ' + line.line.Text();
}

std::string Count(std::size_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what;
}

struct Finished {
    std::optional<int> code;  // nothing: it did not start, or did not end in time
    std::string trouble;      // why there is no code
    std::vector<std::string> output;
};

class CFirstDay {
  public:
    CFirstDay(const Plan& plan, std::ostream& report, std::ostream& screen)
        : plan_(plan), report_(report), screen_(screen) {}

    Outcome Run() {
        Heading("functions of the ports in ntdll.dll");
        Tell(plan_.missing.empty() ? "all are there" : "missing: " + plan_.missing);
        TryContract();
        TryDoctor();
        TryLives();
        Account();
        return otherwise_ != 0  ? Outcome::kOtherwise
               : notTried_ != 0 ? Outcome::kNotTried
                                : Outcome::kAsExpected;
    }

  private:
    Finished Finish(const std::string& program, const std::vector<std::string>& arguments,
                    std::chrono::milliseconds limit) {
        Finished finished;
        try {
            const auto actor = Start(program, arguments);
            finished.code = actor->AwaitEnd(limit);
            if (!finished.code) {
                finished.trouble =
                    program + " did not end within " +
                    Count(static_cast<std::size_t>(limit / std::chrono::milliseconds(1)), "ms");
            }
            for (const TimedLine& line : actor->Events()) {
                finished.output.push_back(Written(line));
            }
        } catch (const std::runtime_error& problem) {
            finished.trouble = problem.what();
        }
        return finished;
    }

    void TryContract() {
        Heading("the contract of the ports");
        if (!plan_.missing.empty()) {
            NotTried("contract of the ports");
            return;
        }
        const std::size_t before = otherwise_;
        const std::vector<std::string> tests = ContractTests();
        for (const std::string& test : tests) {
            TryContractTest(test);
        }
        account_.push_back("contract of the ports: " + Count(tests.size(), "tests, ") +
                           Count(otherwise_ - before, "otherwise"));
    }

    std::vector<std::string> ContractTests() {
        const Finished listed = Finish(kContract, {"--gtest_list_tests"}, plan_.testLimit);
        std::vector<std::string> tests;
        std::string suite;
        for (const std::string& line : listed.output) {
            std::istringstream words(line);
            std::string name;
            words >> name;
            if (line.compare(0, 2, "  ") == 0) {
                tests.push_back(suite + name);
            } else if (!name.empty() && name.back() == '.') {
                suite = name;
            }
        }
        if (listed.code != 0 || tests.empty()) {
            ++otherwise_;
            TellOutput(listed);
        }
        return tests;
    }

    void TryContractTest(const std::string& test) {
        const Finished finished =
            Finish(kContract, {"--gtest_brief=1", "--gtest_filter=" + test}, plan_.testLimit);
        if (finished.code == 0) {
            Tell("as expected  " + test);
            return;
        }
        ++otherwise_;
        Tell("OTHERWISE    " + test);
        TellOutput(finished);
    }

    void TryDoctor() {
        Heading("ovprobe doctor");
        std::unique_ptr<CActor> product = TryProduct();
        const Finished doctor = Finish(kProbe, {"doctor"}, plan_.doctorLimit);
        TellOutput(doctor);
        account_.push_back(
            "ovprobe doctor: " +
            (doctor.code ? "ended with code " + std::to_string(*doctor.code) : doctor.trouble));
        // Without ports it cannot but find what is missing.
        otherwise_ += !doctor.code || (plan_.missing.empty() && doctor.code != 0) ? 1 : 0;
        if (product) {
            product->Send("quit");
            product->AwaitEnd(plan_.doctorLimit);
            product.reset();
            Uninstall();
        }
    }

    /// A product that runs, whether or not it serves; none where it may not, or does not start.
    std::unique_ptr<CActor> TryProduct() {
        const std::string what = "a simulated product on the system's own ports";
        if (!MayServe()) {
            NotTried(what);
            return nullptr;
        }
        try {
            auto product = Start(kProduct, {});
            const bool serves =
                product->Find(0, CActor::OfKind("ready"), plan_.doctorLimit).has_value();
            for (const TimedLine& line : product->Events()) {
                Tell("simulated product: " + Written(line));
            }
            otherwise_ += serves ? 0 : 1;
            account_.push_back(what + (serves ? ": serves" : ": DOES NOT SERVE"));
            return product;
        } catch (const std::runtime_error& problem) {
            ++otherwise_;
            account_.emplace_back(problem.what());
            return nullptr;
        }
    }

    void TryLives() {
        Heading("lives of the unmodified library");
        if (!MayServe()) {
            NotTried("lives of the unmodified library");
            return;
        }
        for (const std::string& name : plan_.scenarios) {
            const Finished life =
                Finish(kRunner,
                       {"--programs=" + plan_.programs, "--library=" + plan_.library,
                        "--product=" + std::string(kProduct), "--quiet", "--colour=never",
                        plan_.scenarioFolder + '/' + name + ".scenario"},
                       plan_.lifeLimit);
            TellOutput(life);
            otherwise_ += life.code == 0 ? 0 : 1;
            account_.push_back("life " + name + (life.code == 0 ? ": as expected" : ": OTHERWISE"));
        }
        Uninstall();
    }

    /// A product that starts stays registered on its system.
    void Uninstall() {
        const Finished uninstalled =
            Finish(kProduct, {"--not-installed", "--install-only"}, plan_.doctorLimit);
        if (uninstalled.code != 0) {
            ++otherwise_;
            TellOutput(uninstalled);
            account_.emplace_back("the simulated product is still registered");
        }
    }

    void Account() {
        Heading("what came out");
        for (const std::string& line : account_) {
            Tell(line);
        }
        if (!plan_.missing.empty()) {
            Tell("Not tried: this system has no " + plan_.missing + '.');
        }
        if (plan_.isInstalled) {
            Tell(
                "Not tried: a product is installed here, and a simulated one must not take its "
                "place.");
        }
    }

    std::unique_ptr<CActor> Start(const std::string& program,
                                  const std::vector<std::string>& arguments) const {
        return std::make_unique<CActor>(
            program, plan_.programs + '/' + program + KYR_PROGRAM_SUFFIX, arguments,
            CActor::Environment{}, [](const std::string&, const TimedLine&) {});
    }

    void Heading(const std::string& text) {
        Tell("");
        Tell("== " + text);
    }

    void Tell(const std::string& line) {
        report_ << line << '\n';
        screen_ << line << std::endl;
    }

    void TellOutput(const Finished& finished) {
        for (const std::string& line : finished.output) {
            Tell("    " + line);
        }
        if (!finished.code) {
            Tell("    " + finished.trouble);
        }
    }

    void NotTried(const std::string& what) {
        ++notTried_;
        Tell("NOT TRIED: " + what);
        account_.push_back(what + ": NOT TRIED");
    }

    /// Whether a simulated product may serve here.
    bool MayServe() const { return plan_.missing.empty() && !plan_.isInstalled; }

    const Plan& plan_;
    std::ostream& report_;
    std::ostream& screen_;
    std::vector<std::string> account_;  // the last part of the report, line by line
    std::size_t otherwise_ = 0;
    std::size_t notTried_ = 0;
};

}  // namespace

Outcome TryAll(const Plan& plan, std::ostream& report, std::ostream& screen) {
    return CFirstDay(plan, report, screen).Run();
}

}  // namespace Kyr::Lab::FirstDay
