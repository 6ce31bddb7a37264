#include "connector/tasks/ProtectionStatusLog.h"

#include <boost/make_shared.hpp>

namespace Kyr::Connectors::Common::Tasks {

using Kyr::Common::Logs::ISymbolContainer;
using Kyr::Common::Message::Logs::CStatusLog;

namespace {

// The host's numbers for the symbols of the log.
enum Symbol : std::int32_t {
    kInstance = 235,
    kSeverity = 241,
    kTime = 242,
    kProductType = 244,
    kProduct = 245,
    kCategory = 246,
    kStatusText = 247,
    kStatus = 248,
    kDescription = 4298,
};

// What the row says that stands for "no problems".
constexpr std::int32_t kFineSeverity = 1;
constexpr std::uint64_t kFineCategory = 0x071000000000022B;
constexpr std::uint64_t kFineText = 0x071000000000021E;
constexpr std::uint64_t kNoStatus = 0xFFFFFFFFFFFFFFFF;

bool TellsOfAProblem(const CProtectionStatusRecord& record) {
    return record.status != 0 && record.status != CProtectionStatusRecord::kNotAvailable;
}

void AddReporter(ISymbolContainer& row, const StatusReporter& reporter) {
    row.AddUuidString(kInstance, reporter.instanceUuid)
        .AddCurrentTime(kTime)
        .AddInt64(kProductType, reporter.productType)
        .AddResourceId(kProduct, reporter.productId);
}

// Presence is not asked for: a record that tells of a problem has everything but the description.
void AddProblem(ISymbolContainer& row, const CProtectionStatusRecord& record,
                const StatusReporter& reporter) {
    row.AddInt64(kSeverity, record.severity.value_or(0));
    AddReporter(row, reporter);
    row.AddResourceId(kCategory, record.categoryId.value_or(0))
        .AddResourceId(kStatusText, record.statusTextId.value_or(0))
        .AddResourceId(kStatus, record.statusId.value_or(0));
    if (record.descriptionId) {
        row.AddResourceId(kDescription, *record.descriptionId);
    }
}

void AddAllIsWell(ISymbolContainer& row, const StatusReporter& reporter) {
    row.AddInt32(kSeverity, kFineSeverity);
    AddReporter(row, reporter);
    row.AddResourceId(kCategory, kFineCategory)
        .AddResourceId(kStatusText, kFineText)
        .AddResourceId(kStatus, kNoStatus);
}

}  // namespace

boost::shared_ptr<CStatusLog> MakeProtectionStatusLog(
    const std::vector<CProtectionStatusRecord>& records, const StatusReporter& reporter) {
    auto log = boost::make_shared<CStatusLog>(Kyr::Common::Kernel::MessageType::ProductStatus,
                                              reporter.clock);
    for (const CProtectionStatusRecord& record : records) {
        if (TellsOfAProblem(record)) {
            AddProblem(*log->GetSymbols()->CreateRow(), record, reporter);
        }
    }
    if (log->GetSymbols()->GetRowCount() == 0) {
        AddAllIsWell(*log->GetSymbols()->CreateRow(), reporter);
    }
    log->SetReadOnly();
    return log;
}

}  // namespace Kyr::Connectors::Common::Tasks
