#include "proofs/schedules/Life.h"

#include <algorithm>
#include <ctime>

#include <boost/make_shared.hpp>

#include "base/Mutex.h"
#include "host/message/OvAgentTasks.h"
#include "host/module/Response.h"
#include "proofs/schedules/Scheduler.h"
#include "tests/support/product/FakeBuildReader.h"

namespace Kyr::Proofs::Schedules {

namespace {

using namespace Connectors::OvAgentConnector;
using Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Test::CFakeKelcommClient;
using Test::KelcommReply;
using Test::KelcommScript;

constexpr Nanoseconds kMillisecond = 1000000;
constexpr Nanoseconds kWatchPause = 5000 * kMillisecond;
constexpr int kExchangesOfALook = 3;  // a ping, two values
constexpr int kFirstProcess = 47110;  // by its number the product's request names a task
constexpr std::uint32_t kRefused = 1;

// Not ended by an interruption, as the system's own waits.
void SleepDeeply(std::chrono::milliseconds duration) {
    const timespec time{duration.count() / 1000, duration.count() % 1000 * kMillisecond};
    nanosleep(&time, nullptr);
}

std::string Identifier(int number) {
    return "00000000-0000-0000-0000-00000000000" + std::to_string(number);
}

CHost::Message MakeTask(int number) {
    const auto task = boost::make_shared<CKillProcessByPid>();
    CKillProcessByPid::Payload payload;
    payload.set_process_id(kFirstProcess + number);
    task->SetPayload(payload);
    CKillProcessByPid::Uuid identifier;
    identifier.set_uuid(Identifier(number));
    task->SetIdentifiers(identifier, identifier, identifier);
    task->SetReadOnly();
    return task;
}

}  // namespace

CLife::CLife(const Product& product)
    : product_(product), script_(boost::make_shared<KelcommScript>()) {
    script_->broadcastArea.assign(72, 0xFF);
    script_->serve = [this](const auto& request) { return Serve(request); };
    script_->whileServing = [this] {
        if (product_.takes.count() != 0) {
            SleepDeeply(product_.takes);
        }
    };
    SetProductAnswers(product.answers);
    ModuleSystem system;
    system.productBuild = boost::make_shared<Test::CFakeBuildReader>();
    system.makeChannel = [this, clock = system.clock] {
        return boost::make_shared<COvAgentChannel>(std::make_unique<CFakeKelcommClient>(script_),
                                                   std::make_unique<CFakeKelcommClient>(script_),
                                                   clock);
    };
    module_ = std::make_unique<Module>(system);
    module_->Initialize(host.Resources());
}

CLife::~CLife() {
    JoinOtherThreads();
    Expect(!module_, "the scenario has not destroyed the module");
    // The bus keeps the queues for ever. What it pushes now wakes nobody.
    DeliverTask(9);
    DeliverReply();
    ExpectNobodyLeft();
    Expect(!script_->overlapped, "two exchanges at a time");
    ExpectTasksAccountedFor();
}

// The host's calls.

template <typename Call>
bool CLife::Within(const char* name, Milliseconds bound, const Call& call) {
    const CScheduler& scheduler = *CScheduler::Current();
    const Nanoseconds before = scheduler.Now();
    const Nanoseconds neededBefore = scheduler.NeededTime();
    bool result = false;
    try {
        result = call();
    } catch (const boost::thread_interrupted&) {
        Expect(false, std::string(name) + " leaves by an interruption");
    }
    const Nanoseconds needed = scheduler.NeededTime() - neededBefore;
    // Where time was let pass though somebody could go on, the watch may have looked again.
    const Nanoseconds letPass = scheduler.Now() - before - needed;
    const auto looks = (letPass + kWatchPause - 1) / kWatchPause;
    const auto most = bound.count() + looks * kExchangesOfALook * product_.takes.count();
    Expect(needed <= most * kMillisecond, std::string(name) + " takes " +
                                              std::to_string(needed / kMillisecond) +
                                              " ms instead of " + std::to_string(most));
    return result;
}

void CLife::Start() {
    host.ExpectSilence(false);
    Within("Start", Milliseconds(0), [this] {
        module_->Start();
        return true;
    });
}

void CLife::RequestStop(Milliseconds bound) {
    Within("RequestStop", bound, [this] {
        module_->RequestStop();
        return true;
    });
}

bool CLife::Stop(bool force, Milliseconds bound) {
    const bool stopped = Within(force ? "Stop(true)" : "Stop(false)", bound,
                                [this, force] { return module_->Stop(force); });
    Expect(stopped || !force, "Stop(true) returns false");
    if (stopped) {
        host.ExpectSilence(true);
        ExpectNobodyLeft();
    }
    return stopped;
}

void CLife::StopWhenIdle(Milliseconds bound) {
    Within("stopping", std::chrono::seconds(1) + bound, [this, bound] {
        while (!Stop(false, bound)) {
            Sleep(Milliseconds(100));
        }
        return true;
    });
}

void CLife::Destroy(Milliseconds bound) {
    Within("the destructor", bound, [this] {
        module_.reset();
        return true;
    });
    host.ExpectSilence(true);
    ExpectNobodyLeft();
}

void CLife::DeliverTask(int number) {
    tasks_[number] = MakeTask(number);
    host.Deliver(tasks_[number]);
}

void CLife::DeliverReply() {
    host.Deliver(boost::make_shared<Common::Module::CResponse>(1));
}

void CLife::OnAnotherThread(std::function<void()> action) {
    const CHostThreads hosts;
    threads_.push_back(std::make_unique<boost::thread>(std::move(action)));
}

void CLife::InterruptOtherThreads() {
    for (const auto& thread : threads_) {
        thread->interrupt();
    }
}

void CLife::JoinOtherThreads() {
    for (const auto& thread : threads_) {
        thread->join();
    }
    threads_.clear();
}

void CLife::Sleep(Milliseconds duration) {
    SleepDeeply(duration);
}

void CLife::ChangeStatus() {
    script_->SetBroadcast(2, ++status_);
    script_->SetBroadcast(8, status_);
}

void CLife::SetProductAnswers(bool answers) {
    script_->standingPing = {answers ? 0u : 1u, {}};
}

// The product.

KelcommScript::Answer CLife::Serve(const KelcommScript::Request& request) {
    const std::string text(request.bytes.begin(), request.bytes.end());
    const std::size_t place = text.find(std::to_string(kFirstProcess / 10));
    if (place == std::string::npos) {
        return {0, KelcommReply(0, 0)};
    }
    if (product_.isSilent) {
        // Nobody will ever notify.
        const boost::this_thread::disable_interruption uninterruptible;
        Base::CMutex mutex;
        Base::CCondition answer;
        Base::CLock lock(mutex);
        for (;;) {
            answer.Wait(lock);
        }
    }
    const int number = text[place + 4] - '0';
    if (product_.refusals > 0) {
        --product_.refusals;
        ++refused_[number];
        return {0, KelcommReply(kRefused, 0)};
    }
    ++done_[number];
    return {0, KelcommReply(0, 0)};
}

// The account.

void CLife::Expect(bool holds, const std::string& problem) const {
    if (!holds) {
        CScheduler::Current()->Report(problem);
    }
}

void CLife::ExpectNobodyLeft() {
    Expect(CScheduler::Current()->ModuleThreads() == 0, "a thread of the module lives on");
}

// Each was done once, or told to have failed once, or waits in its queue. One that is being tried
// again when the thread is interrupted is in nobody's hands any more; that it will be tried again
// was told, and so was the interruption.
void CLife::ExpectTasksAccountedFor() {
    for (const auto& task : tasks_) {
        const int number = task.first;
        const int told = host.Failures(Identifier(number));
        const int ends = done_[number] + told + static_cast<int>(host.Queued(task.second));
        const bool interrupted = refused_[number] != 0 &&
                                 refused_[number] == host.Retries(Identifier(number)) &&
                                 host.HasLine("Task processing was interrupted");
        Expect(ends == 1 || (ends == 0 && interrupted),
               "task " + std::to_string(number) + ": done " + std::to_string(done_[number]) +
                   " times, refused " + std::to_string(refused_[number]) +
                   ", told to have failed " + std::to_string(told) + ", queued " +
                   std::to_string(host.Queued(task.second)));
        // The first failure is told as such, the second ends it.
        Expect(told == 0 || refused_[number] == 2 || host.HasLine("canceling tasks"),
               "a task was given up without a reason");
    }
}

}  // namespace Kyr::Proofs::Schedules
