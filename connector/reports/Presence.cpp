#include "connector/reports/Presence.h"

#include <string>

#include <boost/make_shared.hpp>

#include "host/Catalogue.h"
#include "host/logs/Symbols.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Connectors::Common {

namespace Product = Kyr::Common::Catalogue::Product;
namespace Presence = Kyr::Common::Catalogue::Presence;
using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::Logs::CMultiProductStatusLog;
using Kyr::Common::Message::Logs::CStatusLog;

namespace {

/// A log without rows about this product.
boost::shared_ptr<CMultiProductStatusLog> MakeLogAbout(
    std::uint64_t productId, const boost::shared_ptr<Base::IClock>& clock) {
    const auto product = boost::make_shared<Kyr::Common::Logs::CSymbolContainer>(clock);
    product->AddResourceId(Kyr::Common::Logs::Symbols::ProductPresence::kProduct, productId);
    return boost::make_shared<CMultiProductStatusLog>(MessageType::MultiProductStatus, product,
                                                      clock);
}

}  // namespace

boost::shared_ptr<CStatusLog> MakeAgentPresence(const Reporter& reporter) {
    namespace Symbol = Kyr::Common::Logs::Symbols::AgentPresence;
    auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus, reporter.clock);
    log->GetSymbols()
        ->CreateRow()
        ->AddInt32(Symbol::kPresence, Presence::kAgentPresent)
        .AddUuidString(Symbol::kInstance, reporter.instanceUuid)
        .AddCurrentTime(Symbol::kTime)
        .AddInt64(Symbol::k2146, Presence::kAgent2146)
        .AddInt64(Symbol::k2147, Presence::kAgent2147);
    log->SetReadOnly();
    return log;
}

boost::shared_ptr<CMultiProductStatusLog> MakeProductPresence(const Reporter& reporter,
                                                              std::uint64_t presentProduct) {
    namespace Symbol = Kyr::Common::Logs::Symbols::ProductPresence;
    auto log = MakeLogAbout(presentProduct, reporter.clock);
    log->GetSymbols()
        ->CreateRow()
        ->AddString(Symbol::kProductName, std::string(Product::kDomain) + Product::kOvAgentName)
        .AddInt32(Symbol::kPresence, Presence::kProductPresent)
        .AddUuidString(Symbol::kInstance, reporter.instanceUuid)
        .AddCurrentTime(Symbol::kTime)
        .AddInt64(Symbol::kProductType, reporter.productType)
        .AddResourceId(Symbol::kProduct, presentProduct);
    log->SetReadOnly();
    return log;
}

boost::shared_ptr<CMultiProductStatusLog> MakeDeactivatedStatus(
    std::uint64_t absentProduct, const boost::shared_ptr<Base::IClock>& clock) {
    auto log = MakeLogAbout(absentProduct, clock);
    log->SetReadOnly();
    return log;
}

}  // namespace Kyr::Connectors::Common
