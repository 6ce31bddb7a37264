#include "lab/devhost/database/Sqlite.h"

#include <sqlite3.h>
#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

void Check(bool good, sqlite3* handle, const char* what) {
    if (!good) {
        throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(handle));
    }
}

}  // namespace

void CSqliteConnection::Close::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

CSqliteConnection::CSqliteConnection(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open(path.c_str(), &handle);
    handle_.reset(handle);
    Check(result == SQLITE_OK, handle, "Cannot open the database");
    // A second host on the same file waits for the first one's transactions (our choice of time).
    sqlite3_busy_timeout(handle, 5000);
}

void CSqliteConnection::Execute(const char* sql) {
    Check(sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK, Handle(),
          "Cannot run a statement");
}

void CSqliteConnection::Rollback() noexcept {
    sqlite3_exec(Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void CSqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

CSqliteStatement::CSqliteStatement(CSqliteConnection& connection, const char* sql)
    : connection_(connection) {
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v3(connection.Handle(), sql, -1, SQLITE_PREPARE_PERSISTENT,
                                          &statement, nullptr);
    statement_.reset(statement);
    Check(result == SQLITE_OK, connection.Handle(), "Cannot prepare a statement");
}

void CSqliteStatement::BindText(int index, std::string_view text) {
    const int result = sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(),
                                           SQLITE_TRANSIENT, SQLITE_UTF8);
    Check(result == SQLITE_OK, connection_.Handle(), "Cannot bind a text");
}

void CSqliteStatement::BindBlob(int index, std::string_view bytes) {
    // A null pointer would store NULL and not an empty blob.
    const char* data = bytes.empty() ? "" : bytes.data();
    const int result =
        sqlite3_bind_blob64(statement_.get(), index, data, bytes.size(), SQLITE_TRANSIENT);
    Check(result == SQLITE_OK, connection_.Handle(), "Cannot bind a blob");
}

bool CSqliteStatement::Step() {
    const int result = sqlite3_step(statement_.get());
    if (result == SQLITE_ROW) {
        return true;
    }
    if (result != SQLITE_DONE) {
        const std::string text = sqlite3_errmsg(connection_.Handle());
        Reset();
        throw std::runtime_error("Cannot run a statement: " + text);
    }
    Reset();
    return false;
}

std::string CSqliteStatement::Column(int index) const {
    const void* bytes = sqlite3_column_blob(statement_.get(), index);
    const int size = sqlite3_column_bytes(statement_.get(), index);
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

void CSqliteStatement::Reset() {
    sqlite3_reset(statement_.get());
}

}  // namespace Kyr::Lab::DevHost
