#include "lab/devhost/database/DatabaseClaim.h"

#include <sqlite3.h>

namespace Kyr::Lab::DevHost {

CDatabaseClaim::CDatabaseClaim(const std::string& path) {
    if (path == ":memory:") {
        return;
    }
    lock_ = std::make_unique<CSqliteConnection>(path + ".lock");
    // The system may take a moment to give back the lock of a host that was killed (our choice).
    sqlite3_busy_timeout(lock_->Handle(), 1000);
    try {
        lock_->Execute("BEGIN EXCLUSIVE");
    } catch (const CDatabaseError&) {
        if (sqlite3_errcode(lock_->Handle()) != SQLITE_BUSY) {
            throw;
        }
        throw CDatabaseError("another devhost uses the database " + path);
    }
}

}  // namespace Kyr::Lab::DevHost
