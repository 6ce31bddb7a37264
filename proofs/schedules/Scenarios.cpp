#include "proofs/schedules/Scenarios.h"

#include "module/Turnstile.h"
#include "proofs/schedules/Scheduler.h"

namespace Kyr::Proofs::Schedules {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Where an exchange takes time, it is this long. A look of the watch has three: a ping and two
// values.
constexpr milliseconds kExchange(10);
constexpr milliseconds kLook = 3 * kExchange;
constexpr milliseconds kNoTime(0);
constexpr seconds kIdle(5);  // after which a thread for replies ends

const Product kQuick{};
const Product kSlow{kExchange};
const Product kDead{kNoTime, false};
const Product kRefusing{kNoTime, true, 1};
const Product kAlwaysRefusing{kNoTime, true, 100};
const Product kSilent{kNoTime, true, 0, true};

// A connection has a ping, the agent's identifier and no policy; whoever waits for it may have to
// wait for a look as well, and each of these exchanges for one of the others.
constexpr milliseconds kConnection = 2 * (2 * kExchange) + kLook;

void StartRequestStop(CLife& life) {
    life.Start();
    life.RequestStop(kConnection);
    life.StopWhenIdle(kConnection);
    life.Destroy(kNoTime);
}

void StartStopByForce(CLife& life) {
    life.Start();
    life.Stop(true, kConnection);
    life.Destroy(kNoTime);
}

void StartTaskStop(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.StopWhenIdle(kConnection + 2 * kExchange);
    life.Destroy(kNoTime);
}

void StopWhileConnecting(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.Sleep(milliseconds(500));
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void StopWhileProductComes(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.OnAnotherThread([&life] { life.SetProductAnswers(true); });
    life.Sleep(milliseconds(1000));
    life.RequestStop(kNoTime);
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void StopWhileReconnecting(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.DeliverTask(2);
    life.Sleep(seconds(10));
    life.RequestStop(kNoTime);
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void StopByForceWhileReconnecting(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.Sleep(seconds(10));
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

void StopWhileProcessing(CLife& life) {
    life.Start();
    life.Sleep(milliseconds(20));
    life.DeliverTask(1);
    life.DeliverTask(2);
    life.StopWhenIdle(kConnection + 2 * 2 * kExchange);
    life.Destroy(kNoTime);
}

// What is queued is carried out first: only an empty queue waits, and a wait is what an
// interruption ends.
void StopByForceWhileProcessing(CLife& life) {
    life.Start();
    life.Sleep(milliseconds(25));
    life.DeliverTask(1);
    life.DeliverTask(2);
    life.Stop(true, kConnection + 2 * 2 * kExchange);
    life.Destroy(kNoTime);
}

void PublishAgainstStop(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverTask(1); });
    life.OnAnotherThread([&life] { life.DeliverTask(2); });
    life.RequestStop(kNoTime);
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void PublishAgainstStopByForce(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverTask(1); });
    life.OnAnotherThread([&life] { life.DeliverTask(2); });
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

void ReplyAgainstStop(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] {
        life.DeliverReply();
        life.DeliverReply();
    });
    life.RequestStop(kNoTime);
    life.StopWhenIdle(kIdle);
    life.Destroy(kNoTime);
}

void ReplyAgainstStopByForce(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverReply(); });
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

void ReplyAgainstDestructor(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] {
        life.DeliverReply();
        life.DeliverReply();
    });
    life.Destroy(kNoTime);
}

// The first reply finds no thread, and so does the second start.
void ReplyAgainstSecondStart(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverReply(); });
    life.Start();
    life.Await([&life] { return life.host.Queued() == 0; });
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

// The second reply comes when the thread for the first one gives up.
void ReplyAgainstIdleEnd(CLife& life) {
    life.Start();
    life.DeliverReply();
    life.OnAnotherThread([&life] { life.DeliverReply(); });
    life.Sleep(kIdle);
    life.DeliverReply();
    life.Await([&life] { return life.host.Queued() == 0; });
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

void StopOfDeadAgainstReplies(CLife& life) {
    life.DeliverReply();
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverReply(); });
    life.StopWhenIdle(kIdle);
    life.Destroy(kNoTime);
}

// The task that is refused makes the module reconnect while the watch sees another status.
void WatchAgainstReconnection(CLife& life) {
    life.host.values = {{"XDR_ENABLED", "1"}, {"XDR_HOST", "here"}};
    life.Start();
    life.DeliverTask(1);
    life.OnAnotherThread([&life] { life.ChangeStatus(); });
    life.Sleep(seconds(10));
    life.Stop(true, kNoTime);
    life.Destroy(kNoTime);
}

void WatchAfterReconnection(CLife& life) {
    life.host.values = {{"XDR_ENABLED", "1"}, {"XDR_HOST", "here"}};
    life.Start();
    life.DeliverTask(1);
    life.Await([&life] { return life.IsDone(1) && life.host.IsWatched(); });
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void WatchAgainstRequestStop(CLife& life) {
    life.host.values = {{"XDR_ENABLED", "1"}, {"XDR_HOST", "here"}};
    life.Start();
    life.ChangeStatus();
    life.Sleep(seconds(11));
    // Three looks have asked for records twice each, and for status and outcomes. Who wants the
    // lock for tasks may get it behind all of them: it is not handed out in turn.
    constexpr milliseconds kTasks = 8 * 2 * kExchange;
    life.RequestStop(kConnection + kTasks);
    life.StopWhenIdle(kConnection + kTasks);
    life.Destroy(kNoTime);
}

// A host's request may meet a connection that is being made: the watch of the one before is ended
// by the one, while the other goes on.
void WatchAgainstRequestWithoutStop(CLife& life) {
    life.host.values = {{"XDR_ENABLED", "1"}, {"XDR_HOST", "here"}};
    life.Start();
    life.DeliverTask(1);
    life.OnAnotherThread([&life] { life.RequestStop(kConnection); });
    life.Await([&life] { return life.IsDone(1) && life.host.IsWatched(); });
    life.JoinOtherThreads();
    life.Stop(true, kConnection);
    life.Destroy(kNoTime);
}

void StopOnInterruptedThread(CLife& life) {
    life.Start();
    life.DeliverReply();
    life.OnAnotherThread([&life] {
        life.RequestStop(kNoTime);
        life.Stop(true, kNoTime);
    });
    life.InterruptOtherThreads();
    life.JoinOtherThreads();
    life.Destroy(kNoTime);
}

void StartAgainWithoutProduct(CLife& life) {
    life.Start();
    life.Sleep(milliseconds(1));
    life.Stop(true, kNoTime);
    life.SetProductAnswers(false);
    life.Start();
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void SecondStart(CLife& life) {
    life.Start();
    life.Start();
    life.Stop(true, kNoTime);
    life.Start();
    life.StopWhenIdle(kNoTime);
    life.Stop(false, kNoTime);
    life.Destroy(kNoTime);
}

void TaskBetweenLives(CLife& life) {
    life.Start();
    life.RequestStop(kNoTime);
    life.Stop(true, kNoTime);
    life.DeliverTask(1);
    life.StopWhenIdle(kNoTime);
    life.Start();
    life.StopWhenIdle(kNoTime);
    life.Destroy(kNoTime);
}

void DestructorWithoutStop(CLife& life) {
    life.Start();
    life.OnAnotherThread([&life] { life.DeliverTask(1); });
    life.Sleep(milliseconds(1));
    life.Destroy(kConnection + 2 * kExchange);
}

void DestructorWhileReconnecting(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.Sleep(seconds(10));
    life.Destroy(kNoTime);
}

// By itself: in a life it takes several coincidences until somebody has to wait there.
void TurnstileAlone(CLife& life) {
    Connectors::OvAgentConnector::CTurnstile turnstile;
    int inside = 0;
    const auto pass = [&] {
        const Connectors::OvAgentConnector::CTurnstile::CPassage passage(turnstile);
        CScheduler& scheduler = *CScheduler::Current();
        if (++inside != 1) {
            scheduler.Report("two threads are through the turnstile");
        }
        scheduler.Point("is through the turnstile", nullptr);
        --inside;
    };
    life.OnAnotherThread(pass);
    life.OnAnotherThread(pass);
    pass();
    life.JoinOtherThreads();
    life.Destroy(kNoTime);
}

// docs/threading.md, "Hangs that stay".
void SilentProduct(CLife& life) {
    life.Start();
    life.DeliverTask(1);
    life.Sleep(milliseconds(100));
    life.RequestStop(kNoTime);
}

const std::vector<Scenario> kScenarios = {
    {"start-request-stop", kQuick, StartRequestStop},
    {"slow-start-request-stop", kSlow, StartRequestStop},
    {"start-stop-by-force", kQuick, StartStopByForce},
    {"slow-start-stop-by-force", kSlow, StartStopByForce},
    {"start-task-stop", kQuick, StartTaskStop},
    {"stop-while-connecting", kDead, StopWhileConnecting},
    {"stop-while-product-comes", kDead, StopWhileProductComes},
    {"stop-while-reconnecting", kRefusing, StopWhileReconnecting},
    {"stop-while-always-refused", kAlwaysRefusing, StopWhileReconnecting},
    {"stop-by-force-while-reconnecting", kRefusing, StopByForceWhileReconnecting},
    {"stop-while-processing", kSlow, StopWhileProcessing},
    {"stop-by-force-while-processing", kSlow, StopByForceWhileProcessing},
    {"publish-against-stop", kQuick, PublishAgainstStop},
    {"publish-against-stop-by-force", kQuick, PublishAgainstStopByForce},
    {"reply-against-stop", kQuick, ReplyAgainstStop},
    {"reply-against-stop-by-force", kQuick, ReplyAgainstStopByForce},
    {"reply-against-destructor", kQuick, ReplyAgainstDestructor},
    {"reply-against-second-start", kDead, ReplyAgainstSecondStart},
    {"reply-against-idle-end", kDead, ReplyAgainstIdleEnd},
    {"stop-of-unconnected-against-replies", kDead, StopOfDeadAgainstReplies},
    {"watch-against-reconnection", kRefusing, WatchAgainstReconnection},
    {"watch-after-reconnection", kRefusing, WatchAfterReconnection},
    {"watch-against-request-stop", kSlow, WatchAgainstRequestStop},
    {"watch-against-request-without-stop", kRefusing, WatchAgainstRequestWithoutStop},
    {"stop-on-interrupted-thread", kQuick, StopOnInterruptedThread},
    {"start-again-without-product", kQuick, StartAgainWithoutProduct},
    {"second-start", kQuick, SecondStart},
    {"task-between-lives", kQuick, TaskBetweenLives},
    {"destructor-without-stop", kSlow, DestructorWithoutStop},
    {"destructor-while-reconnecting", kRefusing, DestructorWhileReconnecting},
    {"turnstile", kQuick, TurnstileAlone},
    {"silent-product", kSilent, SilentProduct, true},
};

}  // namespace

const std::vector<Scenario>& AllScenarios() {
    return kScenarios;
}

}  // namespace Kyr::Proofs::Schedules
