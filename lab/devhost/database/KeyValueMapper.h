// Mapper 348 over SQLite: texts by text key.
//
// Threads: any.
// Ownership: the connection must outlive the mapper.
// Errors: GetValue throws std::runtime_error when the database fails.
#pragma once

#include "host/database/IMapper.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CKeyValueMapper final : public Common::Database::IKeyValueAccessMapper {
  public:
    /// REQUIRES: the tables that CDatabase creates.
    explicit CKeyValueMapper(CSqliteConnection& connection);
    ~CKeyValueMapper() override;
    std::string GetValue(const std::string& key) override;
    bool SetValue(const std::string& key, const std::string& value) override;

  private:
    CSqliteConnection& connection_;  // borrowed; its mutex guards the statements
    CSqliteStatement select_;
    CSqliteStatement replace_;
};

}  // namespace Kyr::Lab::DevHost
