#include "lab/devhost/database/Database.h"

#include <exception>
#include <sqlite3.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace Kyr::Lab::DevHost {

namespace {

using Common::Kernel::MessageType;
using Lock = boost::unique_lock<boost::mutex>;

// Write-ahead logging keeps readers and the writer apart; FULL puts every commit on disk. A page
// holds fifteen records of 1 KiB; of those of the usual size, three, and a quarter of it is wasted.
constexpr char kSettings[] =
    "PRAGMA page_size = 16384; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;";

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS key_values (key TEXT PRIMARY KEY, value TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS remediation_actions ("
    "  number INTEGER PRIMARY KEY AUTOINCREMENT, action BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS mined_records ("
    "  number INTEGER PRIMARY KEY, type TEXT NOT NULL, record BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS host (name TEXT PRIMARY KEY, value TEXT NOT NULL);";

std::string TypeColumn(MessageType type) {
    return std::to_string(static_cast<std::int32_t>(type));
}

bool Succeeds(const std::function<void()>& write) {
    try {
        write();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

CDatabase::CDatabase(const std::string& path, const std::optional<std::string>& instance)
    : connection_(path) {
    connection_.Execute(kSettings);
    connection_.Execute(kSchema);
    if (instance) {
        CSqliteStatement(connection_,
                         "INSERT OR REPLACE INTO host (name, value) VALUES ('instance', ?)",
                         {*instance})
            .Step();
    }
}

std::string CDatabase::GetValue(const std::string& key) {
    const Lock lock(mutex_);
    CSqliteStatement select(connection_, "SELECT value FROM key_values WHERE key = ?", {key});
    return select.Step() ? select.Column(0) : "";
}

bool CDatabase::SetValue(const std::string& key, const std::string& value) {
    const Lock lock(mutex_);
    return Succeeds([&] {
        CSqliteStatement(connection_,
                         "INSERT OR REPLACE INTO key_values (key, value) VALUES (?, ?)",
                         {key, value})
            .Step();
    });
}

bool CDatabase::StoreActions(const std::vector<std::string>& actions) {
    const Lock lock(mutex_);
    return Succeeds(
        [&] { Insert("INSERT INTO remediation_actions (action) VALUES (?)", {}, actions); });
}

std::vector<std::string> CDatabase::StoredActions() {
    const Lock lock(mutex_);
    CSqliteStatement select(connection_, "SELECT action FROM remediation_actions ORDER BY number");
    std::vector<std::string> actions;
    while (select.Step()) {
        actions.push_back(select.Column(0));
    }
    return actions;
}

void CDatabase::StoreRecords(MessageType type, const std::vector<std::string>& records) {
    const Lock lock(mutex_);
    const std::string column = TypeColumn(type);
    Insert("INSERT INTO mined_records (type, record) VALUES (?, ?)", {column}, records);
}

void CDatabase::Insert(const char* sql, const std::vector<std::string_view>& texts,
                       const std::vector<std::string>& blobs) {
    connection_.Atomically([&] {
        CSqliteStatement insert(connection_, sql, texts);
        for (const std::string& blob : blobs) {
            insert.BindBlob(static_cast<int>(texts.size()) + 1, blob);
            insert.Step();
        }
    });
}

void CDatabase::ForEachRecord(MessageType type, const TakeRecord& take) {
    const Lock lock(mutex_);
    const std::string column = TypeColumn(type);
    CSqliteStatement select(
        connection_, "SELECT record FROM mined_records WHERE type = ? ORDER BY number", {column});
    while (select.Step()) {
        take(select.Column(0));
    }
}

std::vector<std::string> CDatabase::Records(MessageType type) {
    std::vector<std::string> records;
    ForEachRecord(type, [&records](const std::string& record) { records.push_back(record); });
    return records;
}

std::string CDatabase::InstanceUuid() {
    const Lock lock(mutex_);
    const std::string fresh = boost::uuids::to_string(boost::uuids::random_generator()());
    // Ignored when there is one, so that two hosts that start at once agree.
    CSqliteStatement(connection_, "INSERT OR IGNORE INTO host (name, value) VALUES ('instance', ?)",
                     {fresh})
        .Step();
    CSqliteStatement select(connection_, "SELECT value FROM host WHERE name = 'instance'");
    select.Step();
    return select.Column(0);
}

std::unique_ptr<CSqliteConnection> ClaimDatabase(const std::string& path) {
    if (path == ":memory:") {
        return nullptr;
    }
    auto claim = std::make_unique<CSqliteConnection>(path + ".lock");
    // The system may take a moment to give back the lock of a host that was killed (our choice).
    sqlite3_busy_timeout(claim->Handle(), 1000);
    try {
        claim->Execute("BEGIN EXCLUSIVE");
    } catch (const CDatabaseError&) {
        if (sqlite3_errcode(claim->Handle()) != SQLITE_BUSY) {
            throw;
        }
        throw CDatabaseError("another devhost uses the database " + path);
    }
    return claim;
}

}  // namespace Kyr::Lab::DevHost
