// The host database: one SQLite file with the key-value entries, the remediation actions, the
// records of the data miner and what the host keeps of itself.
//
// Every write is on disk when the call returns, so that the host may be killed at any time.
//
// Threads: any.
// Errors: CDatabaseError, where nothing else is said.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "host/kernel/MessageType.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CDatabase final {
  public:
    using TakeRecord = std::function<void(const std::string& record)>;

    /// Opens or creates the database in the file `path`. With `instance` the host's identifier is
    /// that from now on, whatever text it is.
    explicit CDatabase(const std::string& path,
                       const std::optional<std::string>& instance = std::nullopt);

    /// Empty when there is none.
    std::string GetValue(const std::string& key);
    /// False when the database fails.
    bool SetValue(const std::string& key, const std::string& value);

    /// All of the batch or, with false, nothing of it.
    bool StoreActions(const std::vector<std::string>& actions);
    /// In the order of storing.
    std::vector<std::string> StoredActions();

    /// What the data miner keeps: all records of the batch or, when it throws, none.
    void StoreRecords(Common::Kernel::MessageType type, const std::vector<std::string>& records);
    /// Gives the records that came in messages of that type to `take`, in the order of coming, also
    /// those that had come before. One at a time: there may be more than memory holds. `take` must
    /// not use the database.
    void ForEachRecord(Common::Kernel::MessageType type, const TakeRecord& take);
    /// The same, all at once.
    std::vector<std::string> Records(Common::Kernel::MessageType type);

    /// The instance identifier of this host, a UUID in text form unless another was given; made
    /// with the database and kept in it.
    std::string InstanceUuid();

    /// As that of CSqliteConnection. REQUIRES: no other call is under way.
    const std::string& FirstFailure() const { return connection_.FirstFailure(); }

  private:
    /// A row for each blob, behind the texts, and all of them or none. REQUIRES: the lock.
    void Insert(const char* sql, const std::vector<std::string_view>& texts,
                const std::vector<std::string>& blobs);

    boost::mutex mutex_;  // guards the connection
    CSqliteConnection connection_;
};

/// The claim of a host to be the only one that uses the database `path`, which ends with this
/// object or its process: a lock on a file beside it, since SQLite's own only last for a
/// transaction. None for a database without a file. Errors: CDatabaseError when another host has
/// it.
std::unique_ptr<CSqliteConnection> ClaimDatabase(const std::string& path);

}  // namespace Kyr::Lab::DevHost
