// The claim of a host to be the only one that uses a database, which ends with its process.
//
// It is a lock on a file beside the database, whose own locks only last for a transaction.
// Threads: one at a time.
// Errors: CDatabaseError from the constructor when another host has it.
#pragma once

#include <memory>
#include <string>

#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CDatabaseClaim {
  public:
    /// `path` is the database's.
    explicit CDatabaseClaim(const std::string& path);

  private:
    std::unique_ptr<CSqliteConnection> lock_;  // none for a database without a file
};

}  // namespace Kyr::Lab::DevHost
