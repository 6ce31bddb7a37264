#include "module/PresenceLogs.h"

#include <boost/make_shared.hpp>

#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Connectors::OvAgentConnector {

namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Logs::CSymbolContainer;
using Kyr::Common::Message::Logs::CMultiProductStatusLog;
using Kyr::Common::Message::Logs::CStatusLog;

constexpr std::uint64_t kOvProduct = 0x07100000000005E2;
constexpr std::int64_t kProductType = 17;

// The two parts of the product's name in the host's catalogue.
constexpr char kProductDomain[] = "tulk.local.products.";
constexpr char kProductName[] = "ov.agent";

/// What the protection status says of the connection: resource ids of the host's texts.
struct CConnectionStatus {
    std::int32_t severity;
    std::uint64_t statusText;
    std::uint64_t status;
};

constexpr CConnectionStatus kConnected = {1, 0x071000000000021E, 0xFFFFFFFFFFFFFFFF};
constexpr CConnectionStatus kConnectFailed = {6, 0x0710000000000221, 0x00000001000000B3};

LogPointer MakeConnectionStatus(const CLogOrigin& origin, const CConnectionStatus& connection) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::ProductStatus, origin.clock);
    log->GetSymbols()
        ->CreateRow()
        ->AddInt32(241, connection.severity)
        .AddUuidString(235, origin.instanceUuid)
        .AddCurrentTime(242)
        .AddInt64(244, kProductType)
        .AddResourceId(245, kOvProduct)
        .AddResourceId(246, 0x071000000000022B)  // category
        .AddResourceId(247, connection.statusText)
        .AddResourceId(248, connection.status);
    log->SetReadOnly();
    return log;
}

}  // namespace

LogPointer MakeAgentPresence(const CLogOrigin& origin) {
    const auto log = boost::make_shared<CStatusLog>(MessageType::PresenceStatus, origin.clock);
    log->GetSymbols()
        ->CreateRow()
        ->AddInt32(2143, 1)  // present
        .AddUuidString(2141, origin.instanceUuid)
        .AddCurrentTime(2144)
        .AddInt64(2146, 8)
        .AddInt64(2147, 64);
    log->SetReadOnly();
    return log;
}

LogPointer MakeProductPresence(const CLogOrigin& origin, std::uint64_t productId) {
    const auto product = boost::make_shared<CSymbolContainer>(origin.clock);
    product->AddResourceId(4429, productId);
    const auto log = boost::make_shared<CMultiProductStatusLog>(MessageType::MultiProductStatus,
                                                                product, origin.clock);
    log->GetSymbols()
        ->CreateRow()
        ->AddString(3560, std::string(kProductDomain) + kProductName)
        .AddInt32(3554, 6)  // present
        .AddUuidString(3552, origin.instanceUuid)
        .AddCurrentTime(3555)
        .AddInt64(3559, kProductType)
        .AddResourceId(4429, productId);
    log->SetReadOnly();
    return log;
}

LogPointer MakeConnectedStatus(const CLogOrigin& origin) {
    return MakeConnectionStatus(origin, kConnected);
}

LogPointer MakeConnectFailureStatus(const CLogOrigin& origin) {
    return MakeConnectionStatus(origin, kConnectFailed);
}

}  // namespace Kyr::Connectors::OvAgentConnector
