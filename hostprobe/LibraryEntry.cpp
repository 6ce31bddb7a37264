// The library's two exports, those of the connector's: a host that loads the one can load the other
// by its name alone.
//
// Read from the environment, once for each module: OV_HOST_PROBE_REPORT names the file that points
// are added to, else they go to standard output; OV_HOST_PROBE_FAIL, if set, makes Initialize
// throw.
#include <Poco/ClassLibrary.h>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>

#include "base/Mutex.h"
#include "hostprobe/HostProbeModule.h"

namespace Kyr::HostProbe {
namespace {

using Common::Kernel::IModule;

/// The modules that are there; told when the library goes before them.
class CLivingModules {
  public:
    void Add(CHostProbeModule& module) {
        const Base::CLock lock(mutex_);
        modules_.insert(&module);
    }
    void Remove(CHostProbeModule& module) {
        const Base::CLock lock(mutex_);
        modules_.erase(&module);
    }
    ~CLivingModules() {
        for (CHostProbeModule* module : modules_) {
            module->LibraryGoes();
        }
    }

  private:
    Base::CMutex mutex_;
    std::set<CHostProbeModule*> modules_ KYR_GUARDED_BY(mutex_);
};

CLivingModules& LivingModules() {
    static CLivingModules modules;
    return modules;
}

ProbeSettings SettingsFor(std::ofstream& file) {
    ProbeSettings settings;
    settings.stream = &std::cout;
    if (const char* const path = std::getenv("OV_HOST_PROBE_REPORT")) {
        file.open(path, std::ios::app);
        settings.stream = &file;
    }
    settings.failToInitialize = std::getenv("OV_HOST_PROBE_FAIL") != nullptr;
    return settings;
}

/// The module with the file that it writes to.
class CLoadedModule final : public IModule {
  public:
    CLoadedModule() : module_(SettingsFor(file_)) { LivingModules().Add(module_); }
    ~CLoadedModule() override { LivingModules().Remove(module_); }

    void Initialize(Common::Kernel::IResourceProvider& provider) override {
        module_.Initialize(provider);
    }
    void Start() override { module_.Start(); }
    void RequestStop() override { module_.RequestStop(); }
    bool Stop(bool force) override { return module_.Stop(force); }
    std::string GetName() const override { return module_.GetName(); }

  private:
    std::ofstream file_;
    CHostProbeModule module_;
};

constexpr char kClassName[] = "Kyr::Connectors::OvAgentConnector::CConnectorModule";

}  // namespace
}  // namespace Kyr::HostProbe

bool pocoBuildManifest(Poco::ManifestBase* manifest) {
    using Kyr::HostProbe::CLoadedModule;
    using ModuleManifest = Poco::Manifest<Kyr::Common::Kernel::IModule>;
    using ModuleMetaObject = Poco::MetaObject<CLoadedModule, Kyr::Common::Kernel::IModule>;

    if (std::string(typeid(ModuleManifest).name()) != manifest->className()) {
        return false;
    }
    auto metaObject = std::make_unique<ModuleMetaObject>(Kyr::HostProbe::kClassName);
    if (static_cast<ModuleManifest*>(manifest)->insert(metaObject.get())) {
        static_cast<void>(metaObject.release());  // the manifest owns it now
    }
    return true;
}

void pocoInitializeLibrary() {
    // So that it goes with the library, and not with the first module.
    Kyr::HostProbe::LivingModules();
}
