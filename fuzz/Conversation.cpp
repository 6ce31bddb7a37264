#include "fuzz/Conversation.h"

#include <algorithm>
#include <atomic>

#include <boost/make_shared.hpp>

#include "fuzz/TurnClock.h"

namespace Kyr::Fuzz {

namespace {

using namespace Connectors::OvAgentConnector;
using Milliseconds = ITurnClock::Milliseconds;

// Our own choices: a module that waits ten seconds between two attempts ends long before.
constexpr int kMostWaitsOfACall = 200;
constexpr std::size_t kMostOperations = 64;
// The longest that the module may wait before it tries to connect, the channel's own second
// included, and a second more.
constexpr Milliseconds kUntilConnected(12000);
// An announcement is found in a look and acted upon in the next; and a second.
constexpr Milliseconds kUntilAnnouncementWasTaken(11000);
constexpr Milliseconds kUntilAllIsAskedForAgain(3601000);
constexpr Milliseconds kBetweenLooks(5000);
constexpr std::int64_t kBestBuild = 5600;
// Broadcasts.
constexpr std::int32_t kStatusChanged = 2;
constexpr std::int32_t kOutcomesChanged = 8;

}  // namespace

CConversation::CConversation() : CConversation(boost::shared_ptr<ITurnClock>()) {}

CConversation::CConversation(boost::shared_ptr<ITurnClock> clock)
    : product_(boost::make_shared<Test::KelcommScript>()),
      clock_(clock ? std::move(clock)
                   : boost::make_shared<CTurnClock>([this] { return activity_.load(); })),
      build_(boost::make_shared<Test::CFakeBuildReader>()),
      host_(account_, reports_, *clock_, [this] { Note(); }) {
    product_->whileServing = [this] {
        Note();
        // Nobody reads them, and a life may be long.
        product_->seenPings.clear();
        product_->seenRequests.clear();
        product_->seenBroadcastOffsets.clear();
    };
    product_->serve = [this](const auto& request) {
        host_.Tell("request", {request.bytes.begin(), request.bytes.end()});
        return collected_.Serve(request);
    };
    product_->broadcastArea.assign(256, 0);
}

CConversation::~CConversation() = default;

void CConversation::Note() {
    clock_->Enter();
    ++activity_;
}

void CConversation::Run(const std::uint8_t* data, std::size_t size) {
    if (size != 0 && data[0] == 0xFF) {
        build_->build.reset();  // a life without the product's registration
    }
    if (size != 0 && data[0] == 0xFE) {
        BeginWithoutProduct();
    } else {
        Begin();
    }
    for (std::size_t place = 0; place + 1 < size && place / 2 < kMostOperations; place += 2) {
        Play(data[place], data[place + 1]);
    }
    End();
}

void CConversation::Begin() {
    BeginModule();
}

void CConversation::BeginWithoutProduct() {
    product_->standingPing.code = 1;
    BeginModule();
}

void CConversation::BeginModule() {
    ModuleSystem system;
    system.clock = clock_;
    system.productBuild = build_;
    system.makeChannel = [this] {
        return boost::make_shared<COvAgentChannel>(
            std::make_unique<Test::CFakeKelcommClient>(product_),
            std::make_unique<Test::CFakeKelcommClient>(product_), clock_);
    };
    isInstalled_ = build_->build.has_value();
    isOtherBuild_ = build_->build != kBestBuild;
    stopping_ = stopped_ = false;
    module_ = std::make_unique<Module>(system);
    module_->Initialize(host_.Resources());
    module_->Start();
    clock_->Settle();
}

void CConversation::Call(const std::function<void()>& call) {
    std::atomic<bool> returned = false;
    boost::thread caller([&] {
        clock_->Enter();
        call();
        returned = true;
    });
    clock_->Settle();
    for (int waits = 0; !returned; ++waits) {
        const auto next = clock_->UntilNextDeadline();
        if (waits == kMostWaitsOfACall || !next) {
            Broken("a call of the host does not return");
        }
        clock_->Advance(*next);
    }
    caller.join();
}

void CConversation::End() {
    EndModule();
}

void CConversation::EndModule() {
    Stopping();
    Call([this] { module_->RequestStop(); });
    Call([this] { module_->Stop(true); });
    if (clock_->Threads() != 0) {
        Broken("a thread has outlived its module");
    }
    if (const auto queued = host_.QueuedOfBalancedQueues()) {
        account_.ExpectBalance(*queued);
    }
    reports_.ExpectStatusTold();
    module_.reset();
    host_.End();
}

void CConversation::Stopping() {
    stopping_ = true;
    account_.HostStops();
}

void CConversation::LoseProduct(Milliseconds duration) {
    product_->standingPing.code = 1;
    collected_.AnswerAlways(Test::KelcommScript::Answer{1, {}});
    clock_->Advance(duration);
    product_->standingPing.code = 0;
    collected_.AnswerAlways(std::nullopt);
}

void CConversation::FailHost(Argument argument) {
    using At = CAccountedHost::At;
    constexpr At kFailures[] = {At::kEvents, At::kTriggers, At::kReads, At::kWrites,
                                At::kActionsByThrowing};
    host_.FailAt(kFailures[argument % 5],
                 argument / 20 % 4 == 3 ? CAccountedHost::kLasting : argument / 5 % 4 + 1);
}

void CConversation::EndFaults() {
    host_.EndFaults();
    for (const char* const flag : {"XDR_ENABLED", "XDR_HOST", "OV_REMEDIATION_ENABLED"}) {
        host_.Values().Put(flag, "1");
    }
    build_->build = kBestBuild;
    product_->standingPing.code = 0;
    collected_.AnswerByItself();
    if (stopping_ || !isInstalled_) {
        RestartHost(0);
    } else if (isOtherBuild_) {
        // An upgrade takes its time, and is noticed by that. Not by who is connecting meanwhile:
        // the build is read first, and again for the next connection only.
        clock_->Advance(kUntilConnected);
        LoseProduct(kBetweenLooks * 2);
        isOtherBuild_ = false;
    }
}

// Not all at once: a wait that ends may be followed by another.
void CConversation::PassByWaits(Milliseconds duration) {
    const Milliseconds least(1);
    while (duration.count() > 0) {
        const auto next = clock_->UntilNextDeadline();
        const Milliseconds step = std::min(duration, std::max(least, next.value_or(duration)));
        clock_->Advance(step);
        duration -= step;
    }
}

void CConversation::ExpectRecovery(bool announced, int refusedRequests) {
    EndFaults();
    std::uint64_t overheard = collected_.Overheard();
    clock_->Advance(kUntilConnected);
    for (; overheard < collected_.Overheard(); ++overheard) {
        clock_->Advance(kUntilConnected);
    }
    const auto queued = host_.QueuedOfBalancedQueues();
    if (!queued || !queued->empty()) {
        Broken("messages wait although nothing fails any more");
    }
    account_.ExpectAllIsDone();
    const auto& values = host_.Values();
    clock_->Advance(kBetweenLooks * (collected_.BatchesLeft(values) + 1));
    const std::uint64_t status = collected_.ChangeStatus();
    if (announced) {
        host_.FailAt(CAccountedHost::At::kOutcomeRequests, refusedRequests);
        product_->SetBroadcast(kStatusChanged, ++announcements_);
        product_->SetBroadcast(kOutcomesChanged, announcements_);
        PassByWaits(kUntilAnnouncementWasTaken + kBetweenLooks * refusedRequests);
    } else {
        PassByWaits(kUntilAllIsAskedForAgain);
    }
    host_.EndFaults();
    collected_.ExpectNothingLeft(values);
    reports_.ExpectStatus(status);
}

}  // namespace Kyr::Fuzz
