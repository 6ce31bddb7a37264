// The key-value entries of a host's database, read without touching it.
//
// Threads: one. Errors: std::runtime_error, with a text that holds no value.
#pragma once

#include <memory>
#include <optional>
#include <string>

struct sqlite3;

namespace Kyr::Probe {

class CKeyValues {
  public:
    explicit CKeyValues(const std::string& path);

    /// Nothing when there is no such key.
    std::optional<std::string> Find(const std::string& key) const;

  private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace Kyr::Probe
