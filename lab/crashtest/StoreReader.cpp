#include "lab/crashtest/StoreReader.h"

#include "lab/common/CommandWords.h"
#include "lab/devhost/database/MinerTally.h"

namespace Kyr::Lab::CrashTest {

using DevHost::CDatabase;
using DevHost::CSqliteConnection;
using DevHost::CSqliteStatement;

const RecordSource kKinds[3] = {
    {"indicator", "3", "XDR_OFFSET",
     "SELECT number, record FROM mined_records WHERE type = '76' AND number > CAST(? AS INTEGER) "
     "ORDER BY number",
     false},
    {"telemetry", "4", "XDR_TELEMETRY_OFFSET",
     "SELECT number, record FROM mined_records WHERE type = '77' AND number > CAST(? AS INTEGER) "
     "ORDER BY number",
     false},
    {"action", "5", "OV_REMEDIATION_OFFSET",
     "SELECT number, action FROM remediation_actions WHERE number > CAST(? AS INTEGER) "
     "ORDER BY number",
     true},
};

std::vector<std::uint64_t> CStoreReader::NewNumbers(const RecordSource& kind) {
    const CDatabase tables(path_);  // a host that was killed early had not made them yet
    CSqliteConnection connection(path_);
    CSqliteStatement select(connection, kind.query);
    std::string& lastRow = lastRows_.try_emplace(kind.name, "0").first->second;
    select.BindText(1, lastRow);
    std::vector<std::uint64_t> numbers;
    while (select.Step()) {
        lastRow = select.Column(0);
        const std::string record = select.Column(1);
        numbers.push_back(
            DevHost::SequenceOf(kind.isAction ? DevHost::TextOfAction(record) : record)
                .value_or(0));
    }
    return numbers;
}

std::uint64_t CStoreReader::Offset(const RecordSource& kind) const {
    const std::string text = CDatabase(path_).KeyValues().GetValue(kind.offsetKey);
    return text.empty() ? 0 : ParseNumber(text);
}

}  // namespace Kyr::Lab::CrashTest
