// All of several writes to the database, or none of them.
//
// Threads: the one that holds the connection's mutex.
// Ownership: the connection must outlive this.
// Errors: CDatabaseError.
#pragma once

#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CTransaction {
  public:
    /// Begins it; there is one at a time on a connection.
    explicit CTransaction(CSqliteConnection& connection);
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    /// Takes everything back that has not been committed.
    ~CTransaction();

    /// What was written is on disk when the call returns.
    void Commit();

  private:
    CSqliteConnection& connection_;  // borrowed
    bool committed_ = false;
};

}  // namespace Kyr::Lab::DevHost
