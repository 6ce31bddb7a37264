#include "probe/doctor/SqliteKeyValues.h"

#include <algorithm>
#include <sqlite3.h>
#include <stdexcept>
#include <vector>

#include "probe/explain/HostLog.h"

namespace Kyr::Probe {

namespace {

constexpr char kTable[] = "key_values";
constexpr char kSelect[] = "SELECT value FROM key_values WHERE key = ?";
constexpr char kSelectTables[] =
    "SELECT name FROM sqlite_master WHERE type IN ('table', 'view') ORDER BY name";
constexpr char kSelectColumns[] = "SELECT name FROM pragma_table_info('key_values')";
constexpr std::size_t kMostNames = 10;  // that are shown
constexpr std::size_t kLongestName = 40;
constexpr int kPatienceMilliseconds = 500;  // a host may be writing

struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

void Demand(bool good, sqlite3* handle) {
    if (!good) {
        throw std::runtime_error(handle == nullptr ? "no memory" : sqlite3_errmsg(handle));
    }
}

Statement Prepare(sqlite3* handle, const char* text) {
    sqlite3_stmt* statement = nullptr;
    Demand(sqlite3_prepare_v2(handle, text, -1, &statement, nullptr) == SQLITE_OK, handle);
    return Statement(statement);
}

std::string FirstColumn(sqlite3_stmt* statement) {
    const void* const bytes = sqlite3_column_blob(statement, 0);
    const int size = sqlite3_column_bytes(statement, 0);
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::vector<std::string> Names(sqlite3* handle, const char* select) {
    const Statement statement = Prepare(handle, select);
    std::vector<std::string> names;
    int result = sqlite3_step(statement.get());
    for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
        names.push_back(FirstColumn(statement.get()));
    }
    Demand(result == SQLITE_DONE, handle);
    return names;
}

std::string List(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t index = 0; index < std::min(names.size(), kMostNames); ++index) {
        list += (index == 0 ? "" : ", ") + Shown(names[index], kLongestName);
    }
    return names.size() > kMostNames
               ? list + " and " + std::to_string(names.size() - kMostNames) + " more"
               : list;
}

bool Has(const std::vector<std::string>& names, const char* name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Throws what the database is instead of what is expected.
void CheckForm(sqlite3* handle) {
    const std::vector<std::string> tables = Names(handle, kSelectTables);
    if (tables.empty()) {
        throw std::runtime_error("an SQLite database without a table");
    }
    if (!Has(tables, kTable)) {
        throw std::runtime_error("an SQLite database without the table key_values; it has: " +
                                 List(tables));
    }
    const std::vector<std::string> columns = Names(handle, kSelectColumns);
    if (!Has(columns, "key") || !Has(columns, "value")) {
        throw std::runtime_error(
            "an SQLite database whose table key_values has not the columns "
            "key and value, but: " +
            List(columns));
    }
}

}  // namespace

void CSqliteKeyValues::Close::operator()(sqlite3* handle) const {
    sqlite3_close(handle);
}

CSqliteKeyValues::CSqliteKeyValues(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    handle_.reset(handle);
    Demand(result == SQLITE_OK, handle);
    sqlite3_busy_timeout(handle, kPatienceMilliseconds);
    CheckForm(handle);
}

std::optional<std::string> CSqliteKeyValues::Find(const std::string& key) const {
    const Statement statement = Prepare(handle_.get(), kSelect);
    sqlite3_bind_text(statement.get(), 1, key.c_str(), static_cast<int>(key.size()),
                      SQLITE_TRANSIENT);
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_DONE) {
        return std::nullopt;
    }
    Demand(result == SQLITE_ROW, handle_.get());
    return FirstColumn(statement.get());
}

}  // namespace Kyr::Probe
