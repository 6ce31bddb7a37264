#include "tests/endurance/Endurance.h"

#include <algorithm>
#include <iostream>

#include <boost/make_shared.hpp>

#include "host/message/OvAgentTasks.h"
#include "logs/OvAgentRequest.h"
#include "portlayer/LiveCounters.h"
#include "tests/support/product/FakeBuildReader.h"
#include "tests/support/time/HurryingClock.h"

namespace Kyr::Endurance {

namespace {

using namespace Connectors::OvAgentConnector;
using Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Milliseconds = std::chrono::milliseconds;

// Our own choices: ten seconds become five milliseconds; a life is long enough to wear out, and
// short enough to see every state of the channel's choice of port; a product that finishes nothing
// for that long is ended and started anew, as a person would.
constexpr int kHurry = 2000;
constexpr std::uint64_t kTasksPerLife = 1000;
constexpr std::size_t kMostUnfinished = 50;
constexpr Milliseconds kStalled(200);
/// A process rests that holds the same so many times in a row, ten milliseconds apart.
constexpr int kReadingsAtRest = 10;
/// For what holds more than before: perhaps it is only slow.
constexpr Milliseconds kUntilAtRest(10000);

/// The first part of a run fills caches, pools and lists of free memory.
constexpr std::uint64_t kWarmUpPart = 5;

void Sleep(Milliseconds duration) {
    Base::SystemClock()->SleepFor(duration);
}

/// Waits until `reached`, or for that long.
template <typename Condition>
bool AwaitFor(Milliseconds patience, const Condition& reached) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!reached()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        Sleep(Milliseconds(1));
    }
    return true;
}

}  // namespace

CEndurance::CEndurance(std::uint64_t seed, std::uint64_t growthKiB)
    : random_(seed),
      growthKiB_(growthKiB),
      clock_(boost::make_shared<Test::CHurryingClock>(kHurry)) {}

void CEndurance::RunCycles(std::uint64_t count) {
    const std::uint64_t warmUp = count / kWarmUpPart;
    const auto start = std::chrono::steady_clock::now();
    ProcessFigures before = Rest();
    for (std::uint64_t cycle = 0; cycle < count; ++cycle) {
        if (cycle == warmUp) {
            before = Rest();
        }
        OneCycle();
    }
    Compare("cycles", before, RestUntilAs(before));
    const auto took = std::chrono::steady_clock::now() - start;
    std::cout << "cycles: " << count << " in "
              << std::chrono::duration_cast<std::chrono::seconds>(took).count() << " s; "
              << inactive_ << " inactive, " << withoutProduct_ << " without the product, "
              << forced_ << " ended by force\n";
}

void CEndurance::RunTasks(std::uint64_t count) {
    const std::uint64_t warmUp = count / kWarmUpPart;
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t lostBefore = ledger_.Lost();
    const std::uint64_t deedsBefore = ledger_.Deeds();
    const std::uint64_t failuresBefore = ledger_.Failures();
    ProcessFigures before = Rest();
    bool warm = false;
    for (std::uint64_t done = 0; done < count;) {
        if (!warm && done >= warmUp) {
            before = Rest();
            warm = true;
        }
        const std::uint64_t tasks = std::min(kTasksPerLife, count - done);
        OneLife(tasks);
        done += tasks;
    }
    Compare("tasks", before, RestUntilAs(before));
    const auto took = std::chrono::steady_clock::now() - start;
    const std::uint64_t lost = ledger_.Lost() - lostBefore;
    std::cout << "tasks: " << count << " in "
              << std::chrono::duration_cast<std::chrono::seconds>(took).count()
              << " s; reached the "
              << "product " << ledger_.Deeds() - deedsBefore << " times, " << errorLines_
              << " lines of level 4, " << ledger_.Failures() - failuresBefore
              << " reports of failure, " << restarts_ << " restarts of the product, lost " << lost
              << '\n';
    if (lost != 0) {
        Tell("tasks were lost");
    }
    if (ledger_.ToldTooOften() != 0) {
        Tell("of some tasks more was told than had happened");
    }
}

void CEndurance::ExpectNothingLeft() {
    product_.End();
    const std::string left = PortLayer::LiveObjects();
    std::cout << "left behind: " << (left.empty() ? "nothing" : left) << '\n';
    if (!left.empty()) {
        Tell("the port layer has live objects");
    }
}

std::unique_ptr<CEndurance::Module> CEndurance::MakeModule(bool installed) const {
    ModuleSystem system;
    const auto registration = boost::make_shared<Test::CFakeBuildReader>();
    if (!installed) {
        registration->build.reset();
    }
    system.clock = clock_;
    system.productBuild = registration;
    system.makeChannel = [clock = clock_] {
        return boost::make_shared<COvAgentChannel>(
            0, 0, Connectors::Common::Kelcomm::Native::SystemNativeFunctions(), clock);
    };
    return std::make_unique<Module>(system);
}

CCountingHost::Message CEndurance::MakeTask() {
    const auto task = boost::make_shared<CKillProcessByPid>();
    CKillProcessByPid::Uuid identifier;
    identifier.set_uuid("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    CKillProcessByPid::Uuid number;
    number.set_uuid(ledger_.Enter());
    task->SetIdentifiers(identifier, identifier, number);
    CKillProcessByPid::Payload payload;
    payload.set_process_id(random_() % 100000);
    task->SetPayload(payload);
    task->SetReadOnly();
    return task;
}

CCountingHost::Message CEndurance::MakeResultsTrigger() {
    using namespace Common::Message::Connectors::OvAgentConnector;
    const auto trigger = boost::make_shared<COvAgentRequest>();
    trigger->SetRequestType(kTaskStatus);
    trigger->SetReadOnly();
    return trigger;
}

void CEndurance::OneCycle() {
    watchdog_.Tell("a cycle began");
    if (OneIn(20)) {
        product_.End();
    } else if (!product_.IsThere() || OneIn(50)) {
        product_.Restart();
    }
    if (OneIn(3)) {
        product_.MisbehaveOnce(random_, false);
    }
    if (OneIn(3)) {
        product_.ChangeArea(random_);
    }
    withoutProduct_ += product_.IsThere() ? 0 : 1;
    const bool installed = !OneIn(30);
    inactive_ += installed ? 0 : 1;

    CCountingHost host(ledger_);
    const auto module = MakeModule(installed);
    module->Initialize(host.resources);
    module->Start();
    for (std::uint64_t tasks = random_() % 4; tasks > 0; --tasks) {
        host.Deliver(MakeTask());
    }
    switch (random_() % 4) {
        case 0:
            break;
        case 1:
            AwaitFor(Milliseconds(20), [&] { return host.Connected(); });
            break;
        case 2:
            AwaitFor(Milliseconds(50), [&] { return host.Unfinished() == 0; });
            break;
        default:
            Sleep(Milliseconds(1 + random_() % 10));
    }
    watchdog_.Tell("a cycle's stop");
    if (!OneIn(8)) {
        module->RequestStop();
    }
    const bool force = OneIn(3);
    forced_ += force ? 1 : 0;
    Stop(*module, force);
}

void CEndurance::OneLife(std::uint64_t tasks) {
    product_.Restart();
    CCountingHost host(ledger_);
    const auto module = MakeModule(true);
    module->Initialize(host.resources);
    module->Start();
    for (std::uint64_t task = 0; task < tasks; ++task) {
        watchdog_.Tell("a task");
        if (OneIn(10)) {
            product_.MisbehaveOnce(random_, OneIn(50));
        }
        if (OneIn(20)) {
            product_.ChangeArea(random_);
        }
        if (OneIn(400)) {
            product_.CloseAPort(random_);
        }
        if (OneIn(250)) {
            product_.Restart();
        }
        host.Deliver(MakeTask());
        if (OneIn(20)) {
            host.Deliver(MakeResultsTrigger());
        }
        AwaitFewer(host, kMostUnfinished);
    }
    AwaitFewer(host, 1);
    product_.Restart();  // also ends whatever still hangs
    module->RequestStop();
    Stop(*module, false);
    errorLines_ += host.Errors();
}

void CEndurance::AwaitFewer(CCountingHost& host, std::size_t unfinished) {
    std::size_t last = host.Unfinished();
    while (last >= unfinished) {
        const bool moved = AwaitFor(kStalled, [&] { return host.Unfinished() < last; });
        last = host.Unfinished();
        if (!moved) {
            watchdog_.Tell("a product that stalled");
            product_.Restart();
            ++restarts_;
        }
    }
}

void CEndurance::Stop(Module& module, bool force) {
    while (!module.Stop(force)) {
        Sleep(Milliseconds(1));
    }
}

ProcessFigures CEndurance::Rest() {
    product_.Restart();
    ProcessFigures figures = ReadProcessFigures();
    for (int same = 0; same < kReadingsAtRest; ++same) {
        Sleep(Milliseconds(10));
        const ProcessFigures next = ReadProcessFigures();
        same = next.Held() == figures.Held() ? same : -1;
        figures = next;
    }
    return figures;
}

ProcessFigures CEndurance::RestUntilAs(const ProcessFigures& before) {
    product_.Restart();
    ProcessFigures figures;
    AwaitFor(kUntilAtRest, [&] {
        figures = ReadProcessFigures();
        return figures.Held() == before.Held();
    });
    return figures;
}

void CEndurance::Compare(const char* what, const ProcessFigures& before,
                         const ProcessFigures& after) {
    std::cout << what << ": held before: " << before.Held() << "; after: " << after.Held() << '\n'
              << what << ": resident before: " << before.residentKiB
              << " KiB; after: " << after.residentKiB << " KiB\n";
    if (before.Held() != after.Held()) {
        Tell("the process holds more or less than before");
    }
    if (growthKiB_ != 0 && after.residentKiB > before.residentKiB + growthKiB_) {
        Tell("the process has grown");
    }
}

void CEndurance::Tell(const std::string& problem) {
    std::cout << "problem: " << problem << '\n';
    ++problems_;
}

}  // namespace Kyr::Endurance
