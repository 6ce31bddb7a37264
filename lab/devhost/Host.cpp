#include "lab/devhost/Host.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/make_shared.hpp>

#include "lab/devhost/Ports.h"
#include "lab/devhost/printing/OnDemand.h"
#include "lab/devhost/typed/HostCommands.h"

namespace Kyr::Lab::DevHost {

CHost::CHost(const HostSettings& settings, const MakeModule& makeModule, const LineSink& events,
             const LineSink& logFile)
    : events_(OnDemand(events, settings.told)),
      byHand_(settings.byHand),
      claim_(ClaimDatabase(settings.databasePath)),
      database_(settings.databasePath, settings.instance),
      steps_(settings.dieAt, settings.die),
      failures_(events_),
      bus_(boost::make_shared<CBus>(events_, settings.told.count("record") != 0)),
      lent_({bus_, database_, steps_, failures_, events_, logFile}),
      lifeCycle_(makeModule(), lent_, events_, Base::SystemClock()),
      console_({MessageCommands(*bus_), StoreCommands(*bus_, database_), LifeCommands(),
                FailureCommands(failures_)},
               events_) {}

bool CHost::Start() {
    if (const std::string problem = RunDirectoryProblem(); !problem.empty()) {
        events_(CLine("error").With("text", problem));
    }
    if (!byHand_ && !lifeCycle_.Begin()) {
        return false;
    }
    events_(CLine("ready").With("module", lifeCycle_.ModuleName()));
    return true;
}

void CHost::Quit() {
    quitting_ = true;
    lifeCycle_.BeginStop(false);
}

void CHost::Obey(CCommandInput& input, const std::function<void()>& endAtOnce) {
    WhenDestroyed([&input] { input.Wake(); });
    ObeyCommands(input, console_, {[this] { return HasEnded(); }, [this] { Quit(); }, endAtOnce});
}

ConsoleCommandGroup CHost::LifeCommands() {
    return {
        {"life", "initialize|start|request-stop|stop [force]|destroy",
         "Calls the module once, in whatever state it is; no other command until it returns.",
         [this](CCommandWords& words, const LineSink& tell) {
             const auto call = lifeCycle_.SingleCall(boost::algorithm::join(words.TakeRest(), " "));
             tell(AnswerTo("life"));
             call();
         }},
        {"stop", "[force]", "Stops the module; with force also one that is still busy.",
         [this](CCommandWords& words, const LineSink& tell) {
             const bool force = words.TakeFlag("force");
             words.Finish();
             tell(AnswerTo("stop"));
             lifeCycle_.BeginStop(force);
         }},
        {"quit", "", "Stops the module and ends the host.",
         [this](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             tell(AnswerTo("quit"));
             Quit();
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
