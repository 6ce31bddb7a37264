#include "lab/crashtest/StoreReader.h"

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::CrashTest {

using DevHost::CDatabase;
using DevHost::CSqliteConnection;
using DevHost::CSqliteStatement;

const RecordSource kKinds[3] = {
    {"indicator", "3", "XDR_OFFSET",
     "SELECT number, record FROM mined_records WHERE type = '76' AND number > CAST(? AS INTEGER) "
     "ORDER BY number"},
    {"telemetry", "4", "XDR_TELEMETRY_OFFSET",
     "SELECT number, record FROM mined_records WHERE type = '77' AND number > CAST(? AS INTEGER) "
     "ORDER BY number"},
    {"action", "5", "OV_REMEDIATION_OFFSET",
     "SELECT number, action FROM remediation_actions WHERE number > CAST(? AS INTEGER) "
     "ORDER BY number"},
};

std::vector<std::string> CStoreReader::NewRecords(const RecordSource& kind) {
    const CDatabase tables(path_);  // a host that was killed early had not made them yet
    CSqliteConnection connection(path_);
    CSqliteStatement select(connection, kind.query);
    std::string& lastRow = lastRows_.try_emplace(kind.name, "0").first->second;
    select.BindText(1, lastRow);
    std::vector<std::string> records;
    while (select.Step()) {
        lastRow = select.Column(0);
        records.push_back(select.Column(1));
    }
    return records;
}

std::uint64_t CStoreReader::Offset(const RecordSource& kind) const {
    const std::string text = CDatabase(path_).GetValue(kind.offsetKey);
    return text.empty() ? 0 : ParseNumber(text);
}

}  // namespace Kyr::Lab::CrashTest
