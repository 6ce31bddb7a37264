// What an input tells: the operations are numbered in the order of CConversation's table.
#include <algorithm>
#include <gmock/gmock.h>

#include "fuzz/Conversation.h"

namespace Kyr::Fuzz {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

// Operations.
constexpr std::uint8_t kTask = 0;
constexpr std::uint8_t kAnswerAlways = 4;
constexpr std::uint8_t kAnswerPings = 5;
constexpr std::uint8_t kSetArea = 6;
constexpr std::uint8_t kPassTime = 9;
constexpr std::uint8_t kPassToNextWait = 10;
constexpr std::uint8_t kHostCalls = 11;

// Arguments.
constexpr std::uint8_t kRefuse = 4;          // of an answer
constexpr std::uint8_t kUnreachable = 1;     // of an answer to pings
constexpr std::uint8_t kStopGracefully = 1;  // of a call
constexpr std::uint8_t kStatusIsOne = 23;    // of the area: place 3, word 1
constexpr std::uint8_t kResultsAreOne = 24;  // of the area: place 4, word 1

std::vector<std::string> Life(const std::vector<std::uint8_t>& input) {
    CConversation conversation;
    conversation.Run(input.data(), input.size());
    return conversation.Lines();
}

TEST(ConversationTest, TaskIsSentAndTheModuleEndsByForce) {
    const auto lines = Life({kTask, 0});
    EXPECT_THAT(lines, Contains("2 Connecting to product"));
    EXPECT_THAT(lines, Contains("2 Connected to product, processing tasks"));
    EXPECT_THAT(lines, Contains("2 Sending kill process by pid request to product"));
    EXPECT_THAT(lines, Contains("4 Task processing was interrupted"));
}

TEST(ConversationTest, UnregisteredProductLeavesTheModuleInactive) {
    EXPECT_THAT(Life({0xFF, 0}), ElementsAre("2 Connector was deactivated. No tasks will be "
                                             "processed and no logs will be produced."));
}

TEST(ConversationTest, WaitsPassInVirtualTime) {
    const auto lines = Life({kAnswerAlways, kRefuse, kTask, 0, kPassToNextWait, 15});
    EXPECT_THAT(lines, Contains("2 Reconnecting to product"));
}

TEST(ConversationTest, ProductIsReachedAsSoonAsItAnswersAgain) {
    std::vector<std::uint8_t> input = {kAnswerPings, kUnreachable, kAnswerAlways, 11, kTask, 0};
    for (int i = 0; i < 3; ++i) {
        input.insert(input.end(), {kPassTime, 255});
    }
    const auto away = Life(input);
    input.insert(input.end(), {kAnswerPings, 0, kAnswerAlways, 0, kPassToNextWait, 15});
    const auto back = Life(input);
    const auto sent = [](const std::vector<std::string>& lines) {
        return std::count(lines.begin(), lines.end(),
                          "2 Sending kill process by pid request to product");
    };
    EXPECT_EQ(sent(away), 1);
    EXPECT_EQ(sent(back), 2);
}

// A product that has just been met announces whatever it has; the second announcement is the
// area's.
TEST(ConversationTest, AreaAnnouncesAStatusAndResults) {
    const auto lines = Life({kSetArea, kStatusIsOne, kSetArea, kResultsAreOne, kPassToNextWait, 1});
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "2 Received broadcast 2"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "2 Received broadcast 8"), 2);
}

TEST(ConversationTest, GracefulStopEndsTheQueue) {
    const auto lines = Life({kTask, 0, kHostCalls, 0, kHostCalls, kStopGracefully});
    EXPECT_THAT(lines, Contains("2 Disconnecting from product"));
    EXPECT_THAT(lines, Not(Contains("4 Task processing was interrupted")));
}

// Nothing waits in the queue while a thread is new, so that nothing is left to chance.
TEST(ConversationTest, SameInputTellsTheSameLife) {
    const std::vector<std::uint8_t> input = {kTask,     0,  kPassToNextWait, 7, kTask, 200,
                                             kPassTime, 60, kTask,           1};
    const auto first = Life(input);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Life(input), first);
    }
}

}  // namespace
}  // namespace Kyr::Fuzz
