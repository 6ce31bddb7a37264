#include "connector/reports/ConfigurationEvent.h"

#include <boost/make_shared.hpp>

#include "host/Catalogue.h"
#include "host/logs/Symbols.h"

namespace Kyr::Connectors::Common {

namespace Symbol = Kyr::Common::Logs::Symbols::ProductConfiguration;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::Logs::CEventLog;

boost::shared_ptr<CEventLog> MakeConfigurationEvent(const std::string& configuration,
                                                    const Reporter& reporter) {
    auto event = boost::make_shared<CEventLog>(MessageType::ConfigurationEvent, reporter.clock);
    event->GetSymbols()
        ->AddInt32(Symbol::kStatus, Kyr::Common::Catalogue::Configuration::kExported)
        .AddUuidString(Symbol::kInstance, reporter.instanceUuid)
        .AddCurrentTime(Symbol::kTime)
        .AddResourceId(Symbol::kProduct, reporter.productId)
        .AddBlob(Symbol::kConfiguration, configuration);
    event->SetReadOnly();
    return event;
}

}  // namespace Kyr::Connectors::Common
