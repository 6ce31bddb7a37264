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
constexpr std::uint8_t kTrigger = 1;
constexpr std::uint8_t kAnswerOnce = 3;
constexpr std::uint8_t kAnswerAlways = 4;
constexpr std::uint8_t kAnswerPings = 5;
constexpr std::uint8_t kSetArea = 6;
constexpr std::uint8_t kPassTime = 9;
constexpr std::uint8_t kPassToNextWait = 10;
constexpr std::uint8_t kHostCalls = 11;
constexpr std::uint8_t kAppend = 12;
constexpr std::uint8_t kFinish = 13;
constexpr std::uint8_t kRefuseToKeep = 14;
constexpr std::uint8_t kPolicy = 15;
constexpr std::uint8_t kRestartHost = 18;

// Arguments.
constexpr std::uint8_t kAccept = 0;  // of an answer
constexpr std::uint8_t kRefuse = 4;
constexpr std::uint8_t kUnreachable = 1;     // of an answer to pings
constexpr std::uint8_t kStopGracefully = 1;  // of a call
constexpr std::uint8_t kStatusIsOne = 23;    // of the area: place 3, word 1
constexpr std::uint8_t kResultsAreOne = 24;  // of the area: place 4, word 1
constexpr std::uint8_t kResults = 2;         // of a trigger
constexpr std::uint8_t kIndicators = 3;
constexpr std::uint8_t kTelemetry = 4;
constexpr std::uint8_t kActions = 5;
constexpr std::uint8_t kFive = 12;  // records: kind + 3 * (count - 1)

void Tell(CConversation& conversation, const std::vector<std::uint8_t>& input) {
    conversation.Run(input.data(), input.size());
}

std::vector<std::string> Life(const std::vector<std::uint8_t>& input) {
    CConversation conversation;
    Tell(conversation, input);
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

// The product gives three records a batch.
TEST(ConversationTest, RecordsOfEveryKindAreStored) {
    CConversation conversation;
    Tell(conversation,
         {kAppend, kFive, kAppend, kFive + 1, kAppend, kFive + 2, kTrigger, kIndicators, kTrigger,
          kIndicators, kTrigger, kTelemetry, kTrigger, kActions, kTrigger, kActions});
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kIndicator), 5u);
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kTelemetry), 3u);
    // The fourth of them does not block.
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kAction), 4u);
}

TEST(ConversationTest, BatchWhoseOffsetIsNotKeptComesAgain) {
    CConversation conversation;
    Tell(conversation, {kAppend, kFive, kRefuseToKeep, 1, kTrigger, kIndicators, kTrigger,
                        kIndicators, kTrigger, kIndicators});
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kIndicator), 8u);
}

TEST(ConversationTest, ActionsThatAreNotKeptAreAskedForAgain) {
    CConversation conversation;
    Tell(conversation, {kAppend, kFive + 2, kRefuseToKeep, 2, kTrigger, kActions, kPassToNextWait,
                        15, kTrigger, kActions});
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kAction), 4u);
}

TEST(ConversationTest, BatchThatTheBusRefusesIsAskedForAgain) {
    CConversation conversation;
    Tell(conversation,
         {kAppend, kFive, kRefuseToKeep, 0, kTrigger, kIndicators, kPassToNextWait, 15});
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kIndicator), 3u);
}

TEST(ConversationTest, OutcomesAreTold) {
    CConversation conversation;
    Tell(conversation, {kFinish, 3, kFinish, 1, kFinish, 2, kTrigger, kResults});
    EXPECT_EQ(conversation.Account().ToldOutcomes(), 4u);
}

// Between the two, the module tells who it is.
TEST(ConversationTest, TaskThatFailsTwiceIsGivenUp) {
    CConversation conversation;
    Tell(conversation, {kAnswerOnce, kRefuse, kAnswerOnce, kAccept, kAnswerOnce, kRefuse, kTask, 0,
                        kPassToNextWait, 15});
    EXPECT_EQ(conversation.Account().GivenUpTasks(), 1u);
}

TEST(ConversationTest, TasksThatNeverReachedTheProductAreGivenUp) {
    CConversation conversation;
    Tell(conversation, {0xFE, 0, kTask, 0, kTask, 0});
    EXPECT_EQ(conversation.Account().GivenUpTasks(), 2u);
}

// The last line of a host that began anew is that of its own policy.
TEST(ConversationTest, PolicyIsTakenAndTheNextHostKnowsNone) {
    const std::string taken = "2 Set policy request to product was successfull";
    EXPECT_THAT(Life({kPolicy, 1}), Contains(taken));
    EXPECT_THAT(Life({kPolicy, 1, kRestartHost, 0}), Not(Contains(taken)));
}

TEST(ConversationTest, RestartedHostGoesOnWhereRecordsWereStored) {
    CConversation conversation;
    Tell(conversation, {kAppend, kFive, kTrigger, kIndicators, kRestartHost, 0, kTrigger,
                        kIndicators, kTrigger, kIndicators});
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kIndicator), 5u);
}

TEST(ConversationTest, AllIsDoneInTimeWhenTheFaultsAreOver) {
    CConversation conversation;
    conversation.BeginWithoutProduct();
    conversation.Play(kTask, 0);
    conversation.Play(kPolicy, 1);
    conversation.Play(kAppend, kFive);
    conversation.Play(kAppend, kFive + 1);
    conversation.Play(kFinish, 4);
    conversation.ExpectRecovery(true);
    conversation.End();
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kIndicator), 5u);
    EXPECT_EQ(conversation.Account().StoredRecords(RecordKind::kTelemetry), 5u);
    EXPECT_EQ(conversation.Account().ToldOutcomes(), 2u);
}

// Nothing waits in the queue while a thread is new, so that nothing is left to chance.
TEST(ConversationTest, SameInputTellsTheSameLife) {
    const std::vector<std::uint8_t> input = {
        kTask,   0,     kPassToNextWait, 7,           kTask,   200, kPassTime, 60,      kTask, 1,
        kAppend, kFive, kTrigger,        kIndicators, kFinish, 4,   kTrigger,  kResults};
    const auto first = Life(input);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Life(input), first);
    }
}

}  // namespace
}  // namespace Kyr::Fuzz
