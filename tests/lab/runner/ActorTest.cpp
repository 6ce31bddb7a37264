#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "lab/runner/Actor.h"

namespace Kyr::Lab::Runner {
namespace {

constexpr std::chrono::seconds kPatience(20);

void Ignore(const std::string&, const CTimedLine&) {}

bool Any(const CLine&) {
    return true;
}

TEST(ActorTest, WhatTheProgramWritesIsAnEvent) {
    CActor actor("one", KYR_PARROT, {"--all"}, {}, Ignore);

    ASSERT_TRUE(actor.Find(0, Any, kPatience).has_value());
    EXPECT_EQ("argument text=--all", actor.EventAt(0).line.Text());
}

TEST(ActorTest, WhatIsSentReachesTheProgram) {
    CActor actor("one", KYR_PARROT, {}, {}, Ignore);

    actor.Send("answer command=list");

    ASSERT_TRUE(actor.Find(0, Any, kPatience).has_value());
    EXPECT_EQ("answer command=list", actor.EventAt(0).line.Text());
}

TEST(ActorTest, EndIsSeenWhileOthersOfTheSameMomentLive) {
    constexpr int kEach = 8;
    std::vector<std::unique_ptr<CActor>> mortals;
    std::vector<std::unique_ptr<CActor>> survivors;
    const auto start = [](std::vector<std::unique_ptr<CActor>>& actors) {
        for (int i = 0; i < kEach; ++i) {
            actors.push_back(std::make_unique<CActor>("one", KYR_PARROT, std::vector<std::string>(),
                                                      CActor::Environment(), Ignore));
        }
    };
    std::thread other([&] { start(survivors); });
    start(mortals);
    other.join();

    for (const auto& mortal : mortals) {
        mortal->Kill();
        // A handle of it that went to another process would hide its end.
        EXPECT_TRUE(mortal->AwaitEnd(kPatience).has_value());
    }
}

TEST(ActorTest, ProgramThatIsNotThereIsAnError) {
    EXPECT_THROW(CActor("one", "/no/such/program", {}, {}, Ignore), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
