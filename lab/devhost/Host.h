// The whole host: its resources, its bus, one module, and the commands that a person gives it.
//
// Threads: one thread calls; events come from several.
// Errors: CDatabaseError from the constructor when the database cannot be opened or another host
// has it, and whatever the making of the module throws.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "lab/common/Console.h"
#include "lab/common/EndThisProcess.h"
#include "lab/devhost/LifeCycle.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/Bus.h"
#include "lab/devhost/resources/CollectionSteps.h"
#include "lab/devhost/resources/Failures.h"
#include "lab/devhost/resources/LentResources.h"

namespace Kyr::Lab::DevHost {

struct HostSettings {
    std::string databasePath;
    std::optional<DeathWish> dieAt = std::nullopt;       // nothing: lives on
    std::function<void()> die = EndThisProcess;          // there
    std::optional<std::string> instance = std::nullopt;  // nothing: the database's
    std::set<std::string> told{};  // kinds of events that are told on demand only
    bool byHand = false;           // the module's life is left to commands
};

class CHost {
  public:
    using MakeModule = std::function<boost::shared_ptr<Common::Kernel::IModule>()>;

    /// `makeModule` gives the last reference to a new module; it is called once the database is
    /// this host's. `events` takes every event, `logFile` the log lines once more.
    CHost(const HostSettings& settings, const MakeModule& makeModule, const LineSink& events,
          const LineSink& logFile);

    /// Begins the module's life, unless that is done by hand, and says `ready`. False when it
    /// failed. A run directory that cannot be used is an `error` before that.
    bool Start();
    void Execute(const std::string& command) { console_.Execute(command); }
    /// Begins the module's stop, after which the host ends; as the command `quit` does.
    void Quit();
    /// True when the host was to end and the module has been destroyed.
    bool HasEnded() const { return quitting_ && lifeCycle_.IsDestroyed(); }
    /// Carries out the commands of the input until the host has ended, and goes on reading while
    /// the module stops, so that one that hangs can still be stopped by force. The second request
    /// to terminate calls `endAtOnce`. REQUIRES: the host has started.
    void Obey(CCommandInput& input, const std::function<void()>& endAtOnce);
    /// What the database failed with first; empty when it has not. REQUIRES: the host has ended.
    const std::string& DatabaseFailure() const { return database_.FirstFailure(); }
    /// Calls `notify` on the stop thread once the module has been destroyed. REQUIRES: the stop has
    /// not begun.
    void WhenDestroyed(std::function<void()> notify) {
        lifeCycle_.WhenDestroyed(std::move(notify));
    }

  private:
    ConsoleCommandGroup LifeCommands();

    const LineSink events_;
    const bool byHand_;
    const std::unique_ptr<CSqliteConnection> claim_;  // none for a database without a file
    CDatabase database_;
    CCollectionSteps steps_;
    CFailures failures_;
    boost::shared_ptr<CBus> bus_;
    CLentResources lent_;
    CLifeCycle lifeCycle_;
    bool quitting_ = false;
    CConsole console_;
};

}  // namespace Kyr::Lab::DevHost
