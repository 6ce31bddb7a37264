#include "hostprobe/Resources.h"

#include <cctype>
#include <set>
#include <typeinfo>

#include <boost/core/demangle.hpp>

namespace Kyr::HostProbe {

namespace Kernel = Common::Kernel;
namespace Database = Common::Database;

namespace {

/// Names what is there in the place of something else.
template <typename Base>
std::string TypeOf(const Base& object) {
    return boost::core::demangle(typeid(object).name());
}

template <typename Wanted, typename Found>
boost::shared_ptr<Wanted> Cast(const boost::shared_ptr<Found>& found, const std::string& point,
                               const char* name, Verdict whenMissing, CReport& report) {
    if (!found) {
        report.Tell(whenMissing, point, std::string("there is no ") + name);
        return {};
    }
    auto wanted = boost::dynamic_pointer_cast<Wanted>(found);
    report.Judge(wanted != nullptr, point, name,
                 "it is a " + TypeOf(*found) + " and not a " + name +
                     ", or host and module were not built with one KyrHost library");
    return wanted;
}

template <typename Wanted>
boost::shared_ptr<Wanted> Obtain(Kernel::IResourceProvider& provider, int number, const char* name,
                                 Verdict whenMissing, CReport& report) {
    const std::string point = "resource-" + std::to_string(number);
    try {
        return Cast<Wanted>(provider.GetResource(number), point, name, whenMissing, report);
    } catch (...) {
        report.Tell(Verdict::kWrong, point, std::string("GetResource throws: ") + CaughtText());
    }
    return {};
}

template <typename Wanted>
boost::shared_ptr<Wanted> ObtainMapper(Kernel::IDatabaseResource& database, int number,
                                       const char* name, CReport& report) {
    const std::string point = "mapper-" + std::to_string(number);
    try {
        return Cast<Wanted>(database.GetMapper(number), point, name, Verdict::kWrong, report);
    } catch (...) {
        report.Tell(Verdict::kWrong, point, std::string("GetMapper throws: ") + CaughtText());
    }
    return {};
}

bool IsUuid(const std::string& text) {
    constexpr char kShape[] = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != sizeof kShape - 1) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (kShape[i] == 'x' ? !digit : text[i] != '-') {
            return false;
        }
    }
    return true;
}

void CheckInstance(const Kernel::IInstallConfigurationResource& configuration, CReport& report) {
    try {
        report.Judge(IsUuid(configuration.GetInstanceUUID()), "instance",
                     "GetInstanceUUID, slot 12, gives a UUID",
                     "GetInstanceUUID, slot 12, gives no UUID in text form");
    } catch (...) {
        report.Tell(Verdict::kWrong, "instance", std::string("it throws: ") + CaughtText());
    }
}

void CheckIds(Kernel::IIdGeneratorResource& generator, CReport& report) {
    constexpr std::size_t kTries = 100;
    std::set<std::uint32_t> ids;
    try {
        for (std::size_t i = 0; i < kTries; ++i) {
            ids.insert(generator.GenerateId());
        }
    } catch (...) {
        report.Tell(Verdict::kWrong, "ids", "it throws: " + CaughtText());
        return;
    }
    report.Judge(ids.size() == kTries, "ids", "a hundred identifiers, all different",
                 "an identifier came twice within a hundred: replies would reach the wrong one");
}

}  // namespace

HostResources CheckResources(Kernel::IResourceProvider& provider, CReport& report) {
    HostResources found;
    found.log = Obtain<Kernel::ILoggerResource>(provider, Kernel::kLoggerResource,
                                                "ILoggerResource", Verdict::kWrong, report);
    if (found.log) {
        report.UseLog(found.log);
    }
    found.bus = Obtain<Kernel::IBusResource>(provider, Kernel::kBusResource, "IBusResource",
                                             Verdict::kWrong, report);
    if (const auto configuration = Obtain<Kernel::IInstallConfigurationResource>(
            provider, Kernel::kInstallConfigurationResource, "IInstallConfigurationResource",
            Verdict::kWrong, report)) {
        CheckInstance(*configuration, report);
    }
    if (const auto generator =
            Obtain<Kernel::IIdGeneratorResource>(provider, Kernel::kIdGeneratorResource,
                                                 "IIdGeneratorResource", Verdict::kWrong, report)) {
        CheckIds(*generator, report);
    }
    if (const auto database = Obtain<Kernel::IDatabaseResource>(
            provider, Kernel::kDatabaseResource, "IDatabaseResource", Verdict::kWrong, report)) {
        found.keyValues = ObtainMapper<Database::IKeyValueAccessMapper>(
            *database, Database::kKeyValueAccessMapper, "IKeyValueAccessMapper", report);
        found.actions = ObtainMapper<Database::IOvRemediationActionsMapper>(
            *database, Database::kOvRemediationActionsMapper, "IOvRemediationActionsMapper",
            report);
    }
    Obtain<Kernel::IConfigurationResource>(provider, Kernel::kConfigurationResource,
                                           "IConfigurationResource", Verdict::kWrong, report);
    // The connector takes it and does without.
    Obtain<Kernel::INetworkGrpcResource>(provider, Kernel::kNetworkGrpcResource,
                                         "INetworkGrpcResource", Verdict::kDoubtful, report);
    return found;
}

}  // namespace Kyr::HostProbe
