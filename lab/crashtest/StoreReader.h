// Reads in the database of a host what its data miner has stored, and how far the offsets are.
//
// Threads: one at a time; a host may be writing.
// Errors: std::runtime_error with SQLite's text.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "lab/devhost/database/Database.h"

namespace Kyr::Lab::CrashTest {

/// The kinds of records, in the product's order, and how host and product call what belongs to
/// each.
struct RecordSource {
    const char* name;       // as the product calls it
    const char* trigger;    // the number of the request for it
    const char* offsetKey;  // in the host's database
    const char* query;      // the records behind the number of a row
};
extern const RecordSource kKinds[3];

class CStoreReader {
  public:
    explicit CStoreReader(const std::string& path) : path_(path) {}

    /// The records that have come since the last call, in order.
    std::vector<std::string> NewRecords(const RecordSource& kind);

    std::uint64_t Offset(const RecordSource& kind) const;

  private:
    const std::string path_;
    std::map<std::string, std::string> lastRows_;  // by name of the kind
};

}  // namespace Kyr::Lab::CrashTest
