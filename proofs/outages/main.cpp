// Takes from the module, in virtual time, what it needs, for up to seven days, and gives it back;
// then restarts ten thousand of them together. ../README.md says what a run shows.
//
// It plays the conversations of fuzz/, whose account and whose recovery judge: what was asked for
// must be done in the time that the module may take, and a second.
#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <malloc.h>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "fuzz/Conversation.h"
#include "lab/common/CommandLine.h"
#include "proofs/common/LastWords.h"
#include "proofs/common/Processor.h"
#include "proofs/conversation/SeededClock.h"
#include "tests/endurance/Watchdog.h"
#include "tests/support/AllocationWatch.h"

namespace {

using Kyr::Endurance::CWatchdog;
using Kyr::Fuzz::CConversation;
using Kyr::Proofs::Conversation::CSeededClock;
using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds kWeek = std::chrono::hours(7 * 24);
// The longest wait before a connection is tried, the channel's own second, and one more.
constexpr Milliseconds kUntilConnected(12000);
// Two looks of the watch: from then on nobody can have overlooked an outage.
constexpr Milliseconds kNoticed(10000);
constexpr int kOutagesOfALife = 20;
// Where a request has its command, and that with which a connection begins.
constexpr std::size_t kCommandPlace = 8;
constexpr char kWhoAsks = '\x9A';

// Arguments of the conversation's steps.
constexpr std::uint8_t kLastingFailure = 60;  // of the host: five
constexpr std::uint8_t kLastingly = 36;       // is refused: batches, offsets, actions
constexpr std::uint8_t kTenYearsBack = 0;
constexpr std::uint8_t kTenYearsOn = 255;
constexpr int kBuilds = 5;
constexpr std::uint8_t kOneOf[] = {16, 18, 19};  // the texts of the three flags become "1"

[[noreturn]] void Fail(const std::string& what) {
    std::cout << "problem: " << what << std::endl;
    Kyr::Proofs::Die();
}

class CDice {
  public:
    explicit CDice(std::uint64_t seed) : random_(seed) {}
    int Below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(random_()); }
    /// From nothing to a week, each order of magnitude as often as the other.
    Milliseconds Duration() {
        const double logarithm = std::log2(static_cast<double>(kWeek.count()) + 1);
        return Milliseconds(
            static_cast<std::int64_t>(std::exp2(Below(10001) / 10000.0 * logarithm)) - 1);
    }

  private:
    std::mt19937_64 random_;
};

/// One module with its host and product, and when it connects and publishes.
class CWorld {
  public:
    CWorld(std::uint64_t seed, CWatchdog& watchdog)
        : seed_(seed),
          watchdog_(watchdog),
          clock_(boost::make_shared<CSeededClock>(seed)),
          conversation_(clock_) {
        conversation_.OnTrace(
            [this](const char* what, const std::string& text) { Note(what, text); });
    }

    CConversation& Conversation() { return conversation_; }
    Milliseconds Now() const { return clock_->Now(); }
    std::uint64_t Seed() const { return seed_; }
    /// Since the clock began, or since Forget.
    const std::vector<Milliseconds>& Connections() const { return connections_; }
    /// The largest time when there was none.
    Milliseconds FirstConnectionSince(Milliseconds begin) const {
        const auto first = std::lower_bound(connections_.begin(), connections_.end(), begin);
        return first == connections_.end() ? Milliseconds::max() : *first;
    }
    /// Those that are for the server, not for the module itself.
    const std::vector<Milliseconds>& Publications() const { return publications_; }
    /// Their memory, too.
    void Forget() {
        std::vector<Milliseconds>().swap(connections_);
        std::vector<Milliseconds>().swap(publications_);
    }

  private:
    void Note(const char* what, const std::string& text) {
        watchdog_.Tell("an event");
        if (what == std::string("request") && text.size() > kCommandPlace &&
            text[kCommandPlace] == kWhoAsks) {
            connections_.push_back(clock_->Now());
        } else if (what == std::string("published") && text != "OvAgentRequest") {
            publications_.push_back(clock_->Now());
        }
    }

    const std::uint64_t seed_;
    CWatchdog& watchdog_;
    std::vector<Milliseconds> connections_;
    std::vector<Milliseconds> publications_;
    const boost::shared_ptr<CSeededClock> clock_;
    CConversation conversation_;
};

void AllowCollecting(CConversation& conversation) {
    for (const std::uint8_t flag : kOneOf) {
        conversation.Play(CConversation::kSetKey, flag);
    }
}

void GiveWork(CConversation& conversation, CDice& dice) {
    for (int i = dice.Below(4); i > 0; --i) {
        conversation.Play(CConversation::kDeliverTask, dice.Byte());
        conversation.Play(CConversation::kAppendRecords, dice.Byte());
    }
    conversation.Play(CConversation::kFinishTasks, dice.Byte());
    if (dice.Below(4) == 0) {
        conversation.Play(CConversation::kDeliverPolicy, dice.Byte());
    }
}

/// What is taken away.
enum Kind { kProduct, kUpgrade, kCalendar, kStore, kHost, kKinds };
const char* const kNames[] = {"product away", "another build", "calendar jumps", "store refuses",
                              "host throws"};

// One in ten is the host, which keeps a module busy: it connects again and again.
Kind KindOf(int lot) {
    constexpr int kLots[] = {8, 14, 18, 19};  // of twenty
    return static_cast<Kind>(std::upper_bound(std::begin(kLots), std::end(kLots), lot) -
                             std::begin(kLots));
}

struct Figures {
    std::uint64_t outages[kKinds] = {};
    double seconds = 0;
    Milliseconds longest{0};  // from the return of the product to a connection
};

/// Any of the three that a store keeps, one at least.
void RefuseToKeep(CConversation& conversation, CDice& dice) {
    const int refused = 1 + dice.Below(7);
    for (std::uint8_t what = 0; what < 3; ++what) {
        if ((refused >> what & 1) != 0) {
            conversation.Play(CConversation::kRefuseToKeep, kLastingly + what);
        }
    }
}

void LoseProduct(CConversation& conversation, Kind kind, Milliseconds duration, CDice& dice) {
    if (kind == kCalendar) {
        conversation.Play(CConversation::kJumpCalendar,
                          dice.Below(2) == 0 ? kTenYearsBack : kTenYearsOn);
    } else if (kind == kUpgrade) {
        conversation.Play(CConversation::kSetBuild, static_cast<std::uint8_t>(dice.Below(kBuilds)));
    }
    conversation.LoseProduct(duration);
}

/// One outage from its beginning until all work is done that it has held up.
void Suffer(CWorld& world, Kind kind, CDice& dice, Figures& figures) {
    CConversation& conversation = world.Conversation();
    const Milliseconds duration = dice.Below(50) == 0 ? kWeek : dice.Duration();
    world.Forget();
    if (kind == kStore || kind == kHost) {
        if (kind == kStore) {
            RefuseToKeep(conversation, dice);
        } else {
            conversation.FailHost(static_cast<std::uint8_t>(kLastingFailure + dice.Below(5)));
        }
        GiveWork(conversation, dice);
        conversation.Pass(duration);
    } else {
        LoseProduct(conversation, kind, duration, dice);
        GiveWork(conversation, dice);
    }
    const Milliseconds end = world.Now();
    conversation.ExpectRecovery(dice.Below(4) != 0);
    if (kind < kStore && duration >= kNoticed) {
        const Milliseconds wait = world.FirstConnectionSince(end) - end;
        if (wait > kUntilConnected) {
            Fail("life " + std::to_string(world.Seed()) + ": no connection for " +
                 std::to_string(wait.count()) + " ms");
        }
        figures.longest = std::max(figures.longest, wait);
    }
    figures.seconds += static_cast<double>(duration.count()) / 1000;
    ++figures.outages[kind];
}

void Live(std::uint64_t seed, int outages, Figures& figures, CWatchdog& watchdog) {
    Kyr::Proofs::Foresee("life " + std::to_string(seed));
    CDice dice(seed);
    CWorld world(seed, watchdog);
    world.Conversation().Begin();
    AllowCollecting(world.Conversation());
    for (; outages > 0; --outages) {
        GiveWork(world.Conversation(), dice);
        Suffer(world, KindOf(dice.Below(20)), dice, figures);
    }
    world.Conversation().End();
}

std::size_t Held() {
    return ::mallinfo2().uordblks;
}

// What the module asks itself for piles up while each of its requests fails slowly; with nothing
// else to do, all that it takes is given back, and no more is taken to work it off.
void ExpectFlatMemory(Milliseconds duration, CWatchdog& watchdog) {
    constexpr std::size_t kRoom = 256 * 1024;
    for (const std::uint8_t what : {0, 1, 2}) {
        Kyr::Proofs::Foresee("memory, store " + std::to_string(what));
        CWorld world(what, watchdog);
        CConversation& conversation = world.Conversation();
        conversation.Begin();
        AllowCollecting(conversation);
        conversation.Play(CConversation::kAppendRecords, what);
        conversation.ExpectRecovery(true);
        conversation.Play(CConversation::kAppendRecords, what);
        const std::size_t before = Held();
        conversation.Play(CConversation::kRefuseToKeep, kLastingly + what);
        conversation.Pass(duration);
        world.Forget();  // what this program itself has kept
        const std::size_t piled = Held();
        const Kyr::Test::CAllocationWatch watch;
        conversation.ExpectRecovery(true);
        world.Forget();
        const std::size_t after = Held();
        std::cout << "outages: the store refuses "
                  << (what == 0   ? "batches"
                      : what == 1 ? "offsets"
                                  : "actions")
                  << " for " << duration.count() / 3600000 << " h: held " << before / 1024
                  << " KiB before, " << piled / 1024 << " at its end, " << watch.MostHeld() / 1024
                  << " more to work it off, " << after / 1024 << " after" << std::endl;
        if (after > before + kRoom || watch.MostHeld() > kRoom * 4) {
            Fail("memory is not given back");
        }
        conversation.End();
    }
}

/// Per second of time, over all instances.
void TellRates(const char* what, const std::map<std::int64_t, std::uint64_t>& seconds) {
    std::uint64_t all = 0;
    std::uint64_t peak = 0;
    for (const auto& [second, count] : seconds) {
        all += count;
        peak = std::max(peak, count);
    }
    const std::int64_t length =
        seconds.empty() ? 1 : seconds.rbegin()->first - seconds.begin()->first + 1;
    std::cout << ' ' << all << ' ' << what << " in " << length << " s, a second " << peak
              << " at most and " << std::fixed << std::setprecision(1)
              << static_cast<double>(all) / static_cast<double>(length) << " in the mean;";
}

enum Together { kReady, kBooting, kProductOnly };

// Each with a product of its own: its product is there first; or comes within a minute; or was
// taken away, as by an update of all, from connected ones.
void RestartTogether(Together how, int instances, CWatchdog& watchdog) {
    const char* const kHow[] = {"all hosts start, products are there",
                                "all hosts start, products within a minute",
                                "all products are away for thirty seconds"};
    std::map<std::int64_t, std::uint64_t> connections;
    std::map<std::int64_t, std::uint64_t> publications;
    for (int i = 0; i < instances; ++i) {
        Kyr::Proofs::Foresee("instance " + std::to_string(i));
        CDice dice(static_cast<std::uint64_t>(i));
        CWorld world(static_cast<std::uint64_t>(i), watchdog);
        CConversation& conversation = world.Conversation();
        Milliseconds begin(0);
        if (how == kProductOnly) {
            conversation.Begin();
            conversation.Pass(Milliseconds(dice.Below(5000)));
            begin = world.Now();
            world.Forget();
            conversation.LoseProduct(Milliseconds(30000));
        } else if (how == kBooting) {
            conversation.BeginWithoutProduct();
            conversation.LoseProduct(Milliseconds(dice.Below(60000)));
        } else {
            conversation.Begin();
        }
        conversation.Pass(kUntilConnected);
        if (world.Connections().size() != 1) {
            Fail("an instance has not connected once");
        }
        for (const Milliseconds at : world.Connections()) {
            ++connections[(at - begin).count() / 1000];
        }
        for (const Milliseconds at : world.Publications()) {
            ++publications[(at - begin).count() / 1000];
        }
        conversation.End();
    }
    std::cout << "outages: " << instances << " instances, " << kHow[how] << ':';
    TellRates("connections", connections);
    TellRates("messages for the server", publications);
    std::cout << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    int outages = 10000;
    int instances = 10000;
    int hours = 7 * 24;
    std::uint64_t first = 1;
    CLI::App app("Takes from the module what it needs, and gives it back.", "proof_outages");
    app.add_option("--outages", outages, "how many, twenty a life");
    app.add_option("--first", first, "the first life's seed");
    app.add_option("--instances", instances, "how many are restarted together");
    app.add_option("--hours", hours, "for which a store refuses while memory is looked at");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    Kyr::Proofs::LeaveLastWords("outages");
    CWatchdog watchdog;
    Kyr::Proofs::StayOnOneProcessor();
    Figures figures;
    for (int left = outages; left > 0; left -= kOutagesOfALife) {
        Live(first++, std::min(left, kOutagesOfALife), figures, watchdog);
    }
    ExpectFlatMemory(std::chrono::hours(hours), watchdog);
    for (const Together how : {kReady, kBooting, kProductOnly}) {
        RestartTogether(how, instances, watchdog);
    }
    for (int kind = 0; kind < kKinds; ++kind) {
        std::cout << "outages: " << kNames[kind] << ' ' << figures.outages[kind] << " times"
                  << std::endl;
    }
    std::cout << "proof outages: " << outages << " outages of " << std::fixed
              << std::setprecision(1) << figures.seconds / 86400 << " days, connected within "
              << figures.longest.count() << " ms: PASS" << std::endl;
    return 0;
}
