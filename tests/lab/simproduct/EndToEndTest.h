// The program itself, in a process of its own, with a name space of its own, and its events.
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "lab/runner/Actor.h"
#include "portlayer/LiveCounters.h"
#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Lab::SimProduct {

class EndToEndTest : public ::testing::Test {
  protected:
    static constexpr std::chrono::seconds kPatience{20};

    ~EndToEndTest() override {
        actor_.reset();
        EXPECT_EQ(PortLayer::LiveObjects(), "");
    }

    void Run(const std::vector<std::string>& arguments = {}) {
        Launch(arguments);
        Await("ready");
    }

    void Launch(const std::vector<std::string>& arguments) {
        next_ = 0;
        actor_.reset();  // a second product would not be let in
        actor_ = std::make_unique<Runner::CActor>("product", KYR_SIMPRODUCT, arguments,
                                                  Runner::CActor::Environment{},
                                                  [](const std::string&, const TimedLine&) {});
    }

    /// Waits for the next event that begins so, and returns it.
    CLine Await(const std::string& beginning) {
        const auto found = actor_->Find(
            next_,
            [&](std::size_t, const TimedLine& event) {
                return event.line.Text().compare(0, beginning.size(), beginning) == 0;
            },
            kPatience);
        if (!found) {
            ADD_FAILURE() << "no event '" << beginning << "'";
            return CLine("none");
        }
        next_ = *found + 1;
        return actor_->EventAt(*found).line;
    }

    /// Sends a command and returns the first line of its answer.
    CLine Command(const std::string& line) {
        actor_->Send(line);
        return Await("answer command=" + line.substr(0, line.find(' ')));
    }

    void Misbehave(const std::string& fault) {
        actor_->Send("misbehave " + fault);
        Await("answer command=misbehave faults=");
    }

    static std::string Field(const CLine& line, const char* key) {
        const std::string* const value = line.Find(key);
        return value == nullptr ? "missing" : *value;
    }

    /// Starts a victim and returns its number.
    std::string StartVictim() { return Field(Command("start one"), "pid"); }

    void ExpectCleanEnd() { EXPECT_EQ(0, actor_->AwaitEnd(kPatience)); }

    const Kyr::Test::CInstalledProduct place_;  // takes back what the product registers
    Kyr::Test::CRunDirectory directory_;
    std::unique_ptr<Runner::CActor> actor_;
    std::size_t next_ = 0;
};

}  // namespace Kyr::Lab::SimProduct
