#include "lab/devhost/database/MinerStore.h"

#include "lab/devhost/database/Transaction.h"

namespace Kyr::Lab::DevHost {

using Lock = boost::unique_lock<boost::mutex>;

namespace {

std::string TypeText(Common::Kernel::MessageType type) {
    return std::to_string(static_cast<std::int32_t>(type));
}

}  // namespace

CMinerStore::CMinerStore(CSqliteConnection& connection)
    : connection_(connection),
      insert_(connection, "INSERT INTO mined_records (type, record) VALUES (?, ?)"),
      select_(connection, "SELECT record FROM mined_records WHERE type = ? ORDER BY number") {}

void CMinerStore::Store(Common::Kernel::MessageType type, const std::vector<std::string>& records) {
    const Lock lock(connection_.Mutex());
    CTransaction transaction(connection_);
    for (const std::string& record : records) {
        insert_.BindText(1, TypeText(type));
        insert_.BindBlob(2, record);
        insert_.Step();
    }
    transaction.Commit();
}

void CMinerStore::ForEach(Common::Kernel::MessageType type, const TakeRecord& take) {
    const Lock lock(connection_.Mutex());
    select_.Reset();  // an earlier call may have ended early
    select_.BindText(1, TypeText(type));
    while (select_.Step()) {
        take(select_.Column(0));
    }
}

std::vector<std::string> CMinerStore::Records(Common::Kernel::MessageType type) {
    std::vector<std::string> records;
    ForEach(type, [&records](const std::string& record) { records.push_back(record); });
    return records;
}

}  // namespace Kyr::Lab::DevHost
