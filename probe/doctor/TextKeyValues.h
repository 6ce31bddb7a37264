// Key-value entries as a text: one a line, `key=value`. A key has letters, digits, `_`, `-` and
// `.`; the value is all that follows. Empty lines and those that begin with `#` say nothing; the
// last line of a key counts.
//
// Threads: one. Errors: std::runtime_error for a file of another form.
#pragma once

#include <map>
#include <string>

#include "probe/doctor/KeyValues.h"

namespace Kyr::Probe {

class CTextKeyValues final : public IKeyValues {
  public:
    explicit CTextKeyValues(const std::string& path);

    std::optional<std::string> Find(const std::string& key) const override;
    bool IsSurelyAHosts() const override { return false; }

  private:
    std::map<std::string, std::string> values_;
};

}  // namespace Kyr::Probe
