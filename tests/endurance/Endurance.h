// Lives of the real module against a product that goes wrong at random: many short ones, and few
// long ones with many tasks. What the process holds afterwards must be what it held before.
//
// All decisions come from one seed, so that a run can be repeated; what the threads make of them
// cannot. Threads: one. Errors: what is found wrong is counted in Problems and told.
#pragma once

#include <cstdint>
#include <memory>

#include "module/OvAgentConnectorModule.h"
#include "tests/endurance/CountingHost.h"
#include "tests/endurance/FaultyProduct.h"
#include "tests/endurance/ProcessFigures.h"
#include "tests/endurance/Watchdog.h"

namespace Kyr::Endurance {

class CEndurance {
  public:
    /// `growthKiB`: how much more memory may be resident in the end; 0: not judged.
    CEndurance(std::uint64_t seed, std::uint64_t growthKiB);

    /// Start and stop, at every stage and in every manner.
    void RunCycles(std::uint64_t count);
    /// Tasks, a thousand a life.
    void RunTasks(std::uint64_t count);
    /// After the last life: nothing of the port layer may be alive.
    void ExpectNothingLeft();

    std::uint64_t Problems() const { return problems_; }

  private:
    using Module = Connectors::OvAgentConnector::COvAgentConnectorModule;

    bool OneIn(std::uint64_t count) { return random_() % count == 0; }
    std::unique_ptr<Module> MakeModule(bool installed) const;
    CCountingHost::Message MakeTask();
    /// By which the module asks the product what became of its tasks.
    static CCountingHost::Message MakeResultsTrigger();
    void OneCycle();
    void OneLife(std::uint64_t tasks);
    void AwaitFewer(CCountingHost& host, std::size_t unfinished);
    void Stop(Module& module, bool force);
    /// What the process holds once that no longer changes: a thread that was joined is still
    /// counted for a moment.
    ProcessFigures Rest();
    /// What it holds as soon as that is as before, or after all the patience that we have.
    ProcessFigures RestUntilAs(const ProcessFigures& before);
    void Compare(const char* what, const ProcessFigures& before, const ProcessFigures& after);
    void Tell(const std::string& problem);

    Random random_;
    const std::uint64_t growthKiB_;
    const boost::shared_ptr<Base::IClock> clock_;
    CWatchdog watchdog_;
    CTaskLedger ledger_;
    CFaultyProduct product_{ledger_};
    std::uint64_t problems_ = 0;
    std::uint64_t forced_ = 0;
    std::uint64_t inactive_ = 0;
    std::uint64_t withoutProduct_ = 0;
    std::uint64_t restarts_ = 0;
    std::uint64_t errorLines_ = 0;
};

}  // namespace Kyr::Endurance
