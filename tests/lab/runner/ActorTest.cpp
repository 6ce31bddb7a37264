#include <gmock/gmock.h>
#include <memory>
#include <thread>
#include <vector>

#include "lab/runner/Actor.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::AnyOf;

constexpr std::chrono::seconds kPatience(20);

void Ignore(const std::string&, const TimedLine&) {}

bool Any(std::size_t, const TimedLine&) {
    return true;
}

TEST(ActorTest, LineThatIsNoEventIsToldAsText) {
    CActor actor("one", KYR_PARROT, {}, {}, Ignore);

    actor.Send("raw what(): bad lexical cast");

    ASSERT_TRUE(actor.Find(0, Any, kPatience).has_value());
    EXPECT_EQ("text text=\"what(): bad lexical cast\"", actor.EventAt(0).line.Text());
}

TEST(ActorTest, EndTellsItsCodeAndEndsTheWaitForAnEvent) {
    CActor actor("one", KYR_PARROT, {}, {}, Ignore);

    EXPECT_EQ(std::nullopt, actor.AwaitEnd(std::chrono::milliseconds(0)));
    actor.Send("end 3");
    EXPECT_EQ(std::nullopt, actor.Find(0, Any, std::chrono::hours(1)));
    EXPECT_EQ(3, actor.AwaitEnd(kPatience));
    EXPECT_EQ("with code 3", actor.EndText());
    actor.Send("ready");  // is lost
    actor.Send("ready");
    EXPECT_EQ(std::nullopt, actor.Find(0, Any, kPatience));
}

TEST(ActorTest, EndByASignalIsToldByItsName) {
    CActor actor("one", KYR_PARROT, {}, {}, Ignore);

    actor.Send("abort");
    ASSERT_TRUE(actor.AwaitEnd(kPatience).has_value());
    EXPECT_THAT(actor.EndText(), AnyOf("by SIGABRT", "with code 3"));  // the latter on Windows
}

/// Does not know "bad".
void TakeGoodOnes(const std::string&, const TimedLine& line) {
    if (line.line.Kind() == "bad") {
        throw std::invalid_argument("'x' is not a number");
    }
}

TEST(ActorTest, EventThatTheListenerCannotTakeComesOutOfEveryWait) {
    CActor actor("one", KYR_PARROT, {}, {}, TakeGoodOnes);

    actor.Send("good");
    actor.Send("bad records=x");
    actor.Send("end 0");
    EXPECT_THROW(actor.Find(0, CActor::OfKind("end"), kPatience), std::runtime_error);
    EXPECT_THROW(actor.AwaitEnd(kPatience), std::runtime_error);
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

}  // namespace
}  // namespace Kyr::Lab::Runner
