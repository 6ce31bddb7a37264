#include "lab/devhost/Host.h"

#include <boost/make_shared.hpp>

#include "lab/common/EndThisProcess.h"
#include "lab/devhost/Ports.h"
#include "lab/devhost/printing/MemoryUse.h"
#include "lab/devhost/printing/OnDemand.h"
#include "lab/devhost/resources/DataMiner.h"
#include "lab/devhost/resources/ModuleDatabase.h"

namespace Kyr::Lab::DevHost {

namespace Kernel = Common::Kernel;

namespace {

CModuleLoader::Hooks HooksFor(const HostSettings& settings, const LineSink& events) {
    const auto tellMemory = [memory = settings.memory, events](const char* when) {
        if (memory) {
            events(MemoryLine(when));
        }
    };
    return {[tellMemory] { tellMemory("before-loading"); },
            [tellMemory, settings] {
                tellMemory("loaded");
                if (settings.portLayer) {
                    TakePortsFromLayer(settings.libraryPath);
                }
            }};
}

}  // namespace

CHost::CHost(const HostSettings& settings, const LineSink& events, const LineSink& logFile)
    : events_(OnDemand(events, settings.told)),
      byHand_(settings.byHand),
      loader_(settings.libraryPath, HooksFor(settings, events_)),
      claim_(ClaimDatabase(settings.databasePath)),
      database_(settings.databasePath),
      steps_(settings.dieAt, EndThisProcess),
      failures_(events_),
      bus_(boost::make_shared<CBus>(events_, settings.told.count("record") != 0)),
      provider_(events_),
      module_(loader_.Create()),
      lifeCycle_(
          module_, [this] { loader_.Destroy(module_); }, events_, Base::SystemClock()),
      console_({MakeHostCommands({*bus_, database_, lifeCycle_.SingleCalls(provider_),
                                  [this](bool force) { lifeCycle_.BeginStop(force); },
                                  [this] { Quit(); }}),
                FailureCommands(failures_)},
               events_) {
    if (settings.instance) {
        database_.SetInstanceUuid(*settings.instance);
    }
    provider_.Add(Kernel::kBusResource,
                  boost::make_shared<CDataMiner>(bus_, database_, steps_, failures_, events_));
    provider_.Add(Kernel::kInstallConfigurationResource,
                  boost::make_shared<CInstallConfiguration>(database_.InstanceUuid()));
    provider_.Add(Kernel::kLoggerResource,
                  boost::make_shared<CHostLog>(failures_, std::vector<LineSink>{events_, logFile}));
    provider_.Add(Kernel::kIdGeneratorResource, boost::make_shared<CIdGenerator>());
    provider_.Add(Kernel::kDatabaseResource,
                  boost::make_shared<CModuleDatabase>(database_, steps_, failures_, events_));
    provider_.Add(Kernel::kConfigurationResource, boost::make_shared<CConfiguration>());
    provider_.Add(Kernel::kNetworkGrpcResource, boost::make_shared<CNetworkGrpc>());
}

bool CHost::Start() {
    if (const std::string problem = RunDirectoryProblem(); !problem.empty()) {
        events_(CLine("error").With("text", problem));
    }
    if (!byHand_ && !lifeCycle_.Begin(provider_)) {
        return false;
    }
    events_(CLine("ready").With("module", module_.GetName()));
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

}  // namespace Kyr::Lab::DevHost
