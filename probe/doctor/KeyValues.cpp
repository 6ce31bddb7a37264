#include "probe/doctor/KeyValues.h"

#include <sqlite3.h>
#include <stdexcept>

namespace Kyr::Probe {

namespace {

constexpr char kSelect[] = "SELECT value FROM key_values WHERE key = ?";
constexpr int kPatienceMilliseconds = 500;  // a host may be writing

struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

void Check(bool good, sqlite3* handle) {
    if (!good) {
        throw std::runtime_error(handle == nullptr ? "no memory" : sqlite3_errmsg(handle));
    }
}

Statement Prepare(sqlite3* handle) {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(handle, kSelect, -1, &statement, nullptr) == SQLITE_OK, handle);
    return Statement(statement);
}

}  // namespace

void CKeyValues::Close::operator()(sqlite3* handle) const {
    sqlite3_close(handle);
}

CKeyValues::CKeyValues(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    handle_.reset(handle);
    Check(result == SQLITE_OK, handle);
    sqlite3_busy_timeout(handle, kPatienceMilliseconds);
    Prepare(handle);  // a file that is none, or another one, is found out here
}

std::optional<std::string> CKeyValues::Find(const std::string& key) const {
    const Statement statement = Prepare(handle_.get());
    sqlite3_bind_text(statement.get(), 1, key.c_str(), static_cast<int>(key.size()),
                      SQLITE_TRANSIENT);
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_DONE) {
        return std::nullopt;
    }
    Check(result == SQLITE_ROW, handle_.get());
    const void* const bytes = sqlite3_column_blob(statement.get(), 0);
    const int size = sqlite3_column_bytes(statement.get(), 0);
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

}  // namespace Kyr::Probe
