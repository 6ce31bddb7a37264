// The key-value entries of a host's database, read without touching it. Hosts keep them as they
// like; known are two forms (probe/README.md): an SQLite database with the table
// key_values(key, value), and a text with lines key=value, as anybody can write one from another
// host's store.
//
// Threads: one. Errors: std::runtime_error for what is no such file or cannot be read, with a text
// that says what it is instead; no text holds a value.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace Kyr::Probe {

class IKeyValues {
  public:
    virtual ~IKeyValues();

    /// Nothing when there is no such key.
    virtual std::optional<std::string> Find(const std::string& key) const = 0;
    /// Whether its form alone says that it is a host's, also when it has no entry.
    virtual bool IsSurelyAHosts() const = 0;
};

/// What is expected of a file, for people.
constexpr char kFormsOfKeyValues[] =
    "expected is an SQLite database with the table key_values(key, value), or a text with lines "
    "key=value";

std::unique_ptr<IKeyValues> OpenKeyValues(const std::string& path);

}  // namespace Kyr::Probe
