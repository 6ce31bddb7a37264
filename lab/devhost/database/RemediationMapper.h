// Mapper 388 over SQLite: the remediation actions, in the order in which they were stored.
//
// Threads: any.
// Ownership: the connection must outlive the mapper.
#pragma once

#include <string>
#include <vector>

#include "host/database/IMapper.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CRemediationMapper final : public Common::Database::IOvRemediationActionsMapper {
  public:
    /// REQUIRES: the tables that CDatabase creates.
    explicit CRemediationMapper(CSqliteConnection& connection);
    ~CRemediationMapper() override;
    /// All of the batch or, with false, nothing of it.
    bool StoreActions(const std::vector<std::string>& actions) override;

    /// All stored actions. Throws std::runtime_error when the database fails.
    std::vector<std::string> StoredActions();

  private:
    CSqliteConnection& connection_;  // borrowed; its mutex guards the statements
    CSqliteStatement insert_;
    CSqliteStatement select_;
};

}  // namespace Kyr::Lab::DevHost
