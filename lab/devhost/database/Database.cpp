#include "lab/devhost/database/Database.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace Kyr::Lab::DevHost {

namespace {

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

}  // namespace

CDatabase::CDatabase(const std::string& path) : connection_(path) {
    connection_.Execute(kSettings);
    connection_.Execute(kSchema);
    keyValues_ = std::make_unique<CKeyValueMapper>(connection_);
    remediationActions_ = std::make_unique<CRemediationMapper>(connection_);
    miner_ = std::make_unique<CMinerStore>(connection_);
}

std::string CDatabase::InstanceUuid() {
    const boost::unique_lock<boost::mutex> lock(connection_.Mutex());
    // Ignored when there is one, so that two hosts that start at once agree.
    CSqliteStatement insert(connection_,
                            "INSERT OR IGNORE INTO host (name, value) VALUES ('instance', ?)");
    insert.BindText(1, boost::uuids::to_string(boost::uuids::random_generator()()));
    insert.Step();
    CSqliteStatement select(connection_, "SELECT value FROM host WHERE name = 'instance'");
    select.Step();
    return select.Column(0);
}

void CDatabase::SetInstanceUuid(const std::string& uuid) {
    const boost::unique_lock<boost::mutex> lock(connection_.Mutex());
    CSqliteStatement replace(connection_,
                             "INSERT OR REPLACE INTO host (name, value) VALUES ('instance', ?)");
    replace.BindText(1, uuid);
    replace.Step();
}

}  // namespace Kyr::Lab::DevHost
