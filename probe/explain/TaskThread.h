// The connector's task thread, as its lines tell of it: what it asked the product for, and what
// became of that. It does one thing after the other, so that a line of it says something of the
// things before it.
//
// That a request got through has no line of its own: what was asked is done when the thread is
// seen to go on. Nor does a failure say of what it is: behind the next connection the request that
// has failed comes again, and so a task fails when it is asked for again or given up. One whose
// request was followed by something else has been accepted.
//
// Threads: one. Errors: none.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "probe/explain/Connections.h"
#include "probe/explain/ProblemBook.h"
#include "probe/explain/Recognise.h"
#include "probe/explain/TaskBook.h"

namespace Kyr::Probe {

/// Where a line stands.
struct Moment {
    Place place;
    std::optional<int> second;  // of the day; empty: the line does not say
};

class CTaskThread {
  public:
    /// All three must outlive it.
    CTaskThread(CTaskBook& tasks, CConnections& connections, CProblemBook& problems)
        : tasks_(tasks), connections_(connections), problems_(problems) {}

    /// It is started, from nothing.
    void Start();
    /// A task's text comes next.
    void Send(const std::string& what, const Place& place);
    void Request(std::string_view xml, const Moment& at);
    void Fail(const Place& place, const std::string& cause, const std::string& next, Ending ending);
    void Reconnect(const Place& place);
    void GiveUp(const Recognised& line, const Place& place);
    /// The product has taken a policy. False: it may be another reply, to a task that came right
    /// behind a policy, whose receiver takes that, too.
    bool TakePolicy(const Place& place);
    /// Something else is done: what was in hand before it has an end.
    void GoOn(const Place& place);
    /// The host stops it.
    void Stop(const Place& place);

    /// The watch makes a request of its own: what fails from now on may be that one.
    void OthersAsk();
    /// The watch goes on. It would not, if the product had not answered.
    void WatchGoesOn(const Moment& at);

    /// The end of the log.
    void Finish();

  private:
    struct Asked {
        CTaskBook::Number task;
        std::string userData;  // as it stands in the request
        Moment at;
        bool alone = true;  // nothing else was asked for since
    };
    struct Failed {
        std::optional<Asked> asked;  // the task that it may be of
        std::optional<CProblemBook::Number> problem;
        Place place;
        std::string cause;
        std::string next;
        Ending ending = Ending::kNone;
        bool isRetried = false;  // behind a new connection
        bool isTold = false;     // the host has said that it is of the task

        bool IsOfTask() const { return asked && (isTold || asked->alone); }
    };

    bool IsRetryOf(const std::string& userData) const;
    /// A line tells that the product has taken it.
    void Accept(const Asked& asked, const Place& shown);
    /// Behind the failure something else was done.
    void ResolveFailure();
    void AddProblem(Failed& failed);
    /// No line will say any more what became of what is in hand, since `why`.
    void LeaveOpen(const std::string& why);

    CTaskBook& tasks_;
    CConnections& connections_;
    CProblemBook& problems_;
    std::string sending_;
    std::optional<Asked> asked_;    // sent, and no later line of the thread is known
    std::optional<Failed> failed_;  // and not known yet what that was
    std::string lastCause_;
    std::string lastNext_;
    bool policyIsPartOfConnection_ = false;
};

}  // namespace Kyr::Probe
