// A week of the whole module, which nothing disturbs: what it says and asks for is counted, and
// the counts are worked out by hand. Time moves when the watch sleeps, so that it takes a moment.
#include <map>

#include "tests/module/OvModuleFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Test::Await;
using Kyr::Test::KelcommReply;
using ::testing::Each;
using ::testing::Not;
using ::testing::StartsWith;

// The watch looks every five seconds: 720 times an hour, 24 hours a day, seven days.
constexpr std::uint64_t kLooksPerHour = 720;
constexpr std::uint64_t kHours = 168;
constexpr std::uint64_t kLooks = 120960;

// In this hour the policy wants records and actions.
constexpr std::uint64_t kHourOfRecords = 31;

bool IsHalfPast(std::uint64_t look) {
    return look % kLooksPerHour == kLooksPerHour / 2;
}

std::uint64_t HourOf(std::uint64_t look) {
    return (look - 1) / kLooksPerHour + 1;
}

class WeekTest : public OvModuleFixture {
  protected:
    WeekTest() {
        host_.bus->SetDelivering(true);
        // Only the watch sleeps here, since nothing fails. Its last sleep lasts until it is
        // interrupted.
        clock_->SetAutomaticSleep(true);
        clock_->BeforeSleep([this](std::chrono::milliseconds) {
            if (look_ == kLooks) {
                clock_->SetAutomaticSleep(false);
            } else {
                Happen(++look_);
            }
        });
        AnswerInOrder();
    }
    ~WeekTest() override { module_->Stop(true); }  // the watch counts its looks here

    /// The product changes its status every sixth hour and has results every twenty-fourth, half an
    /// hour before the resend.
    void Happen(std::uint64_t look) {
        const std::uint64_t hour = HourOf(look);
        if (IsHalfPast(look) && hour % 6 == 0) {
            SetBroadcast(2, static_cast<std::int32_t>(hour));
        }
        if (IsHalfPast(look) && hour % 24 == 0) {
            SetBroadcast(8, static_cast<std::int32_t>(hour));
        }
        if (look % kLooksPerHour == 1) {
            const bool wanted = hour == kHourOfRecords;
            host_.database->keyValues->SetValue("XDR_HOST", "host");
            host_.database->keyValues->SetValue("XDR_ENABLED", wanted ? "1" : "0");
            host_.database->keyValues->SetValue("OV_REMEDIATION_ENABLED", wanted ? "1" : "0");
        }
    }

    /// The answers to the module's requests in the order in which it must come to them: with
    /// another order the status would find no status, and that would be an error in the log.
    void AnswerInOrder() {
        alpc_->requests.push_back({0, KelcommReply(0, 0)});  // to the agent's identifier
        for (std::uint64_t hour = 1; hour <= kHours; ++hour) {
            if (hour % 6 == 0) {
                AnswerStatus();
            }
            if (hour % 24 == 0) {
                AnswerNothing(1);
            }
            const std::uint64_t kinds = hour == kHourOfRecords ? 3 : 0;
            AnswerNothing(kinds * (kLooksPerHour - 1));
            AnswerStatus();
            AnswerNothing(1 + kinds);
        }
    }
    void AnswerStatus() {
        const std::string text = "<TULK><SECTION><STATUS></STATUS></SECTION></TULK>";
        alpc_->requests.push_back({0, KelcommReply(0, static_cast<std::uint32_t>(text.size()),
                                                   {text.begin(), text.end()})});
    }
    void AnswerNothing(std::uint64_t count) {
        alpc_->requests.insert(alpc_->requests.end(), count, {0, KelcommReply(0, 0)});
    }

    template <typename Value>
    static std::map<Value, int> Counted(const std::vector<Value>& values) {
        std::map<Value, int> counts;
        for (const Value& value : values) {
            ++counts[value];
        }
        return counts;
    }

    std::uint64_t look_ = 1;  // the one that is under way
};

TEST_F(WeekTest, QuietWeekIsPingedAskedAndReportedAsOftenAsItShouldBe) {
    Initialize();
    module_->Start();
    while (!clock_->AwaitSleepers(1)) {
        // Its patience is for a moment; a slow machine needs more for a week.
    }
    ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    EXPECT_THAT(clock_->Sleeps(), Each(std::chrono::milliseconds(5000)));

    // One for the connection, one a look.
    EXPECT_EQ(alpc_->seenPings.size(), 120961u);
    EXPECT_TRUE(lpc_->seenPings.empty());
    EXPECT_FALSE(alpc_->overlapped);

    // Status: 168 hours, 28 changes. Results: 168 hours, 7 announcements. Each kind of record: the
    // 720 looks of one hour.
    const std::map<int, int> kinds{{0, 196}, {2, 175}, {3, 720}, {4, 720}, {5, 720}};
    EXPECT_EQ(Counted(PublishedKinds()), kinds);
    const std::map<std::uint32_t, int> commands{{0x9A, 1},         {0x21, 196},
                                                {0x70, 175},       {0x00100000, 720},
                                                {0x00100001, 720}, {0x00100002, 720}};
    EXPECT_EQ(Counted(InnerCommands()), commands);
    EXPECT_TRUE(alpc_->requests.empty());

    const Strings lines = host_.log->Lines();
    std::map<std::string, int> counts = Counted(lines);
    EXPECT_EQ(counts["2 Regular resending of all requests"], 168);
    EXPECT_EQ(counts["2 Received broadcast 2"], 28);
    EXPECT_EQ(counts["2 Received broadcast 8"], 7);
    EXPECT_EQ(counts["2 Publishing request 0"], 28);
    EXPECT_EQ(counts["2 Publishing request 2"], 7);
    EXPECT_EQ(counts["2 Protection status log deserialized and published"], 196);
    EXPECT_EQ(counts["2 Connected to product, processing tasks"], 1);
    EXPECT_THAT(lines, Each(Not(StartsWith("3 "))));
    EXPECT_THAT(lines, Each(Not(StartsWith("4 "))));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
