// What the data miner keeps: every record that has come, in the order of coming, also those that
// have come before.
//
// Threads: any.
// Ownership: the connection must outlive the store.
// Errors: std::runtime_error when the database fails.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/kernel/MessageType.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CMinerStore {
  public:
    using TakeRecord = std::function<void(const std::string& record)>;

    /// REQUIRES: the tables that CDatabase creates.
    explicit CMinerStore(CSqliteConnection& connection);

    /// All records or, when it throws, none. They are on disk when the call returns.
    void Store(Common::Kernel::MessageType type, const std::vector<std::string>& records);

    /// Gives the records that came in messages of that type to `take`, which must not use the
    /// database. One at a time: there may be more than memory holds.
    void ForEach(Common::Kernel::MessageType type, const TakeRecord& take);
    /// The same, all at once.
    std::vector<std::string> Records(Common::Kernel::MessageType type);

  private:
    CSqliteConnection& connection_;  // borrowed; its mutex guards the statements
    CSqliteStatement insert_;
    CSqliteStatement select_;
};

}  // namespace Kyr::Lab::DevHost
