// Key-value entries of an SQLite database with the table key_values(key, value), as the lab's host
// has it.
//
// Threads: one. Errors: std::runtime_error; of a database without that table the text has the names
// of its tables.
#pragma once

#include <memory>
#include <string>

#include "probe/doctor/KeyValues.h"

struct sqlite3;

namespace Kyr::Probe {

class CSqliteKeyValues final : public IKeyValues {
  public:
    explicit CSqliteKeyValues(const std::string& path);

    std::optional<std::string> Find(const std::string& key) const override;
    bool IsSurelyAHosts() const override { return true; }

  private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace Kyr::Probe
