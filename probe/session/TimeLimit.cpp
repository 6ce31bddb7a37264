#include "probe/session/TimeLimit.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <utility>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"

namespace Kyr::Probe {

namespace {

using std::chrono::milliseconds;

std::atomic<bool> leftBehind{false};

constexpr milliseconds kTurn{1000};

struct Work {
    std::function<void()> run;
    Base::CMutex mutex;
    Base::CCondition ended;
    bool hasEnded KYR_GUARDED_BY(mutex) = false;
    std::exception_ptr failure KYR_GUARDED_BY(mutex);
};

void Run(const std::shared_ptr<Work>& work) {
    std::exception_ptr failure;
    try {
        work->run();
    } catch (...) {
        failure = std::current_exception();
    }
    // What it holds goes before anybody hears of the end.
    work->run = nullptr;
    const Base::CLock lock(work->mutex);
    work->failure = failure;
    work->hasEnded = true;
    work->ended.NotifyAll();
}

}  // namespace

bool EndsWithin(milliseconds limit, std::function<void()> run, const Progress& progress) {
    const auto work = std::make_shared<Work>();
    work->run = std::move(run);
    boost::thread thread([work] { Run(work); });

    const auto clock = Base::SystemClock();
    milliseconds waited{0};
    Base::CLock lock(work->mutex);
    while (!work->hasEnded && waited < limit) {
        const milliseconds turn = std::min(kTurn, limit - waited);
        // One that is woken without a reason waits a little less.
        if (!clock->WaitFor(work->ended, lock, turn) || !work->hasEnded) {
            waited += turn;
            if (progress && !work->hasEnded && waited < limit) {
                progress(std::chrono::duration_cast<std::chrono::seconds>(waited));
            }
        }
    }
    if (!work->hasEnded) {
        leftBehind = true;
        thread.detach();
        return false;
    }
    const std::exception_ptr failure = work->failure;
    lock.Unlock();
    thread.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return true;
}

bool IsWorkLeftBehind() {
    return leftBehind;
}

}  // namespace Kyr::Probe
