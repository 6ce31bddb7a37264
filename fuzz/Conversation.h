// One life of the real module, told by the bytes of an input: what the host delivers, what the
// product answers, how time passes, when the host has enough of it, or begins anew.
//
//     input = *( operation argument )        one byte each; an operation modulo the number of them
//
// Everything runs in virtual time and by turns (ITurnClock.h), so that an input always tells the
// same life. Whatever it tells, the life must end, in order, without a thread that is left, and
// with a balance of what was delivered (AccountedHost.h). What the product hands out must become
// what Account.h and Reports.h say. When all faults are over, whoever plays a life may ask that all
// work be done in the time that it has.
//
// Not in it: replies of the host's request scheme, whose thread is started by the pushing one.
// Threads: one conductor. Errors: a broken promise ends the process, with a line that says which.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <boost/thread/thread.hpp>

#include "fuzz/Account.h"
#include "fuzz/AccountedHost.h"
#include "fuzz/CollectedProduct.h"
#include "fuzz/ITurnClock.h"
#include "fuzz/Reports.h"
#include "module/OvAgentConnectorModule.h"
#include "tests/support/product/FakeBuildReader.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Fuzz {

class CConversation {
  public:
    /// By what an input tells; the numbers of the first bytes.
    enum Step : std::uint8_t {
        kDeliverTask,
        kDeliverTrigger,
        kDeliverStranger,
        kAnswerOnce,
        kAnswerAlways,
        kAnswerPings,
        kSetArea,
        kSetKey,
        kSetBuild,
        kPassTime,
        kPassToNextWait,
        kHostCalls,
        kAppendRecords,
        kFinishTasks,
        kRefuseToKeep,
        kDeliverPolicy,
        kPassLongTime,
        kJumpCalendar,
        kRestartHost,
        kStepCount
    };
    using Trace = CAccountedHost::Trace;

    /// In virtual time by TurnClock.h.
    CConversation();
    explicit CConversation(boost::shared_ptr<ITurnClock> clock);
    ~CConversation();
    CConversation(const CConversation&) = delete;
    CConversation& operator=(const CConversation&) = delete;

    void Run(const std::uint8_t* data, std::size_t size);

    // The same by steps: Begin, any number of others, End.

    /// Told of everything that the outside sees, by whoever does it; lines are not kept then.
    /// REQUIRES: the life has not begun.
    void OnTrace(Trace trace) { host_.OnTrace(std::move(trace)); }
    void Begin();
    void BeginWithoutProduct();
    void Play(std::uint8_t operation, std::uint8_t argument);
    /// The product is away for that long: it answers neither requests nor pings.
    void LoseProduct(ITurnClock::Milliseconds duration);
    void Pass(ITurnClock::Milliseconds duration) { clock_->Advance(duration); }
    /// The host throws: its bus at events of tasks or at triggers, its store at readings, writings
    /// or actions; up to four times, or until the faults are over.
    void FailHost(std::uint8_t argument);
    /// Everything answers, keeps and is registered again. Then all that was asked for must be done
    /// in the time that the module may take. Tasks and policies: eleven seconds, the longest wait
    /// for a connection, and one, as long again for each that somebody else overheard. Records: by
    /// batches, one every five seconds. Outcomes: eleven seconds when the product announces them,
    /// otherwise an hour and a second. The bus may refuse the request that an announcement leads
    /// to, each time until the next look.
    void ExpectRecovery(bool announced, int refusedRequests = 0);
    void End();

    /// What the module has logged. REQUIRES: Run has returned.
    std::vector<std::string> Lines() const { return host_.Lines(); }
    const CAccount& Account() const { return account_; }

  private:
    struct Operation;
    using Argument = std::uint8_t;
    using Module = Connectors::OvAgentConnector::COvAgentConnectorModule;
    static const Operation kOperations[];

    void DeliverTask(Argument argument);
    void DeliverTrigger(Argument argument);
    void DeliverStranger(Argument argument);
    void AnswerOnce(Argument argument);
    void AnswerAlways(Argument argument);
    void AnswerPings(Argument argument);
    void SetArea(Argument argument);
    void SetKey(Argument argument);
    void SetBuild(Argument argument);
    void PassTime(Argument argument);
    void PassToNextWait(Argument argument);
    void HostCalls(Argument argument);
    void AppendRecords(Argument argument);
    void FinishTasks(Argument argument);
    void RefuseToKeep(Argument argument);
    void DeliverPolicy(Argument argument);
    void PassLongTime(Argument argument);
    void JumpCalendar(Argument argument);
    void RestartHost(Argument argument);

    void BeginModule();
    void EndModule();
    /// The host is about to ask for the end.
    void Stopping();
    void EndFaults();
    void PassByWaits(ITurnClock::Milliseconds duration);
    /// On a thread of its own, since it may wait for the module's. Gives time until it returns.
    void Call(const std::function<void()>& call);
    /// The calling thread has done something.
    void Note();

    std::atomic<std::uint64_t> activity_{0};
    CAccount account_;
    CReports reports_;
    CCollectedProduct collected_{account_, reports_};
    std::uint64_t tasks_ = 0;
    const boost::shared_ptr<Test::KelcommScript> product_;
    const boost::shared_ptr<ITurnClock> clock_;
    const boost::shared_ptr<Test::CFakeBuildReader> build_;
    CAccountedHost host_;
    std::unique_ptr<Module> module_;
    bool isInstalled_ = true;    // as the module has found it
    bool isOtherBuild_ = false;  // than the best, or was: the module may have found that
    bool stopping_ = false;
    bool stopped_ = false;
    std::int32_t announcements_ = 1000;
    std::uint64_t policies_ = 0;
};

}  // namespace Kyr::Fuzz
