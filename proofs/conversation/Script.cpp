#include "proofs/conversation/Script.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace Kyr::Proofs::Conversation {

namespace {

using Step = Fuzz::CConversation;

/// How often a step comes, beside the others.
struct Weight {
    std::uint8_t operation;
    int weight;
};
// A life is mostly work, an answer out of the ordinary now and then, and time.
constexpr Weight kWeights[] = {
    {Step::kDeliverTask, 14},   {Step::kDeliverTrigger, 10}, {Step::kDeliverStranger, 2},
    {Step::kAnswerOnce, 10},    {Step::kAnswerAlways, 4},    {Step::kAnswerPings, 4},
    {Step::kSetArea, 4},        {Step::kSetKey, 3},          {Step::kSetBuild, 1},
    {Step::kPassTime, 14},      {Step::kPassToNextWait, 10}, {Step::kHostCalls, 1},
    {Step::kAppendRecords, 14}, {Step::kFinishTasks, 8},     {Step::kRefuseToKeep, 6},
    {Step::kDeliverPolicy, 4},  {Step::kPassLongTime, 9},    {Step::kJumpCalendar, 2},
    {Step::kRestartHost, 2},
};
constexpr int kOutages = 4;
constexpr int kHostFailures = 6;

// The keys of a policy's flags, by their places in the conversation's table, and the text "1"; the
// first text is empty.
constexpr int kFlags[] = {0, 1, 4};
constexpr int kKeys = 6;
constexpr int kOne = 1;

std::uint8_t SetsKey(int key, int text) {
    // The number that leaves `key` divided by the count of keys, and has the text in its high half.
    int argument = text * 16;
    while (argument % kKeys != key) {
        ++argument;
    }
    return static_cast<std::uint8_t>(argument);
}

class CDice {
  public:
    explicit CDice(std::uint64_t seed) : random_(seed) {}

    /// Of the standard's distributions each library has its own.
    int Below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(random_()); }
    /// From nothing to a day, each order of magnitude as often as the other.
    std::chrono::milliseconds Duration() {
        return std::chrono::milliseconds(static_cast<std::int64_t>(std::exp2(Below(2650) / 100.0)) -
                                         1);
    }

  private:
    std::mt19937_64 random_;
};

Act Draw(CDice& dice) {
    int all = kOutages + kHostFailures;
    for (const Weight& weight : kWeights) {
        all += weight.weight;
    }
    int lot = dice.Below(all);
    for (const Weight& weight : kWeights) {
        if (lot < weight.weight) {
            const std::uint8_t argument = weight.operation == Step::kSetKey
                                              ? SetsKey(kFlags[dice.Below(3)], dice.Below(8))
                                              : dice.Byte();
            return {Act::kStep, weight.operation, argument, {}};
        }
        lot -= weight.weight;
    }
    if (lot < kHostFailures) {
        return {Act::kHostFails, 0, dice.Byte(), {}};
    }
    return {Act::kOutage, 0, 0, dice.Duration()};
}

}  // namespace

Script ScriptOf(std::uint64_t seed) {
    CDice dice(seed);
    Script script{dice.Below(4) == 0, {}};
    for (int parts = 1 + dice.Below(3); parts > 0; --parts) {
        Script::Part part{{}, dice.Below(4) != 0, std::max(0, dice.Below(5) - 2)};
        for (const int flag : kFlags) {
            const int text = dice.Below(2) != 0 ? kOne : 0;
            part.acts.push_back({Act::kStep, Step::kSetKey, SetsKey(flag, text), {}});
        }
        for (int acts = dice.Below(40); acts > 0; --acts) {
            part.acts.push_back(Draw(dice));
        }
        script.parts.push_back(std::move(part));
    }
    return script;
}

}  // namespace Kyr::Proofs::Conversation
