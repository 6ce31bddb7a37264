#include "connector/reports/ProtectionStatus.h"

#include <cstdint>

#include <boost/make_shared.hpp>

#include "host/Catalogue.h"
#include "host/logs/Symbols.h"

namespace Kyr::Connectors::Common {

namespace Protection = Kyr::Common::Catalogue::Protection;
namespace Symbol = Kyr::Common::Logs::Symbols::ProtectionStatus;
using Kyr::Common::Logs::ISymbolContainer;
using Kyr::Common::Message::Logs::CStatusLog;

namespace {

/// What a row says that does not come from the product.
struct OwnFinding {
    std::int32_t severity;
    std::uint64_t statusText;
    std::uint64_t status;
};

constexpr OwnFinding kAllIsWell = {Protection::kFineSeverity, Protection::kFineText,
                                   Protection::kNoStatus};
constexpr OwnFinding kNotConnected = {Protection::kNotConnectedSeverity,
                                      Protection::kNotConnectedText, Protection::kConnectionFailed};

bool TellsOfAProblem(const CProtectionStatusRecord& record) {
    return record.status != 0 && record.status != CProtectionStatusRecord::kNotAvailable;
}

void AddReporter(ISymbolContainer& row, const Reporter& reporter) {
    row.AddUuidString(Symbol::kInstance, reporter.instanceUuid)
        .AddCurrentTime(Symbol::kTime)
        .AddInt64(Symbol::kProductType, reporter.productType)
        .AddResourceId(Symbol::kProduct, reporter.productId);
}

// Presence is not asked for: a record that tells of a problem has everything but the description.
// Deliberately, its severity is added as 64 bits, that of a finding of the connector's own as 32.
void AddProblem(ISymbolContainer& row, const CProtectionStatusRecord& record,
                const Reporter& reporter) {
    row.AddInt64(Symbol::kSeverity, record.severity.value_or(0));
    AddReporter(row, reporter);
    row.AddResourceId(Symbol::kCategory, record.categoryId.value_or(0))
        .AddResourceId(Symbol::kStatusText, record.statusTextId.value_or(0))
        .AddResourceId(Symbol::kStatus, record.statusId.value_or(0));
    if (record.descriptionId) {
        row.AddResourceId(Symbol::kDescription, *record.descriptionId);
    }
}

void AddFinding(ISymbolContainer& row, const OwnFinding& finding, const Reporter& reporter) {
    row.AddInt32(Symbol::kSeverity, finding.severity);
    AddReporter(row, reporter);
    row.AddResourceId(Symbol::kCategory, Protection::kWholeProduct)
        .AddResourceId(Symbol::kStatusText, finding.statusText)
        .AddResourceId(Symbol::kStatus, finding.status);
}

boost::shared_ptr<CStatusLog> MakeEmptyLog(const Reporter& reporter) {
    return boost::make_shared<CStatusLog>(Kyr::Common::Kernel::MessageType::ProductStatus,
                                          reporter.clock);
}

}  // namespace

boost::shared_ptr<CStatusLog> MakeProtectionStatus(
    const std::vector<CProtectionStatusRecord>& records, const Reporter& reporter) {
    auto log = MakeEmptyLog(reporter);
    for (const CProtectionStatusRecord& record : records) {
        if (TellsOfAProblem(record)) {
            AddProblem(*log->GetSymbols()->CreateRow(), record, reporter);
        }
    }
    if (log->GetSymbols()->GetRowCount() == 0) {
        AddFinding(*log->GetSymbols()->CreateRow(), kAllIsWell, reporter);
    }
    log->SetReadOnly();
    return log;
}

boost::shared_ptr<CStatusLog> MakeConnectedStatus(const Reporter& reporter) {
    return MakeProtectionStatus({}, reporter);
}

boost::shared_ptr<CStatusLog> MakeConnectFailureStatus(const Reporter& reporter) {
    auto log = MakeEmptyLog(reporter);
    AddFinding(*log->GetSymbols()->CreateRow(), kNotConnected, reporter);
    log->SetReadOnly();
    return log;
}

}  // namespace Kyr::Connectors::Common
