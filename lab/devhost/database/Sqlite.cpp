#include "lab/devhost/database/Sqlite.h"

#include <sqlite3.h>
#include <system_error>

namespace Kyr::Lab::DevHost {

CSqliteConnection::CSqliteConnection(const std::string& path)
    : path_(path), handle_(nullptr, sqlite3_close_v2) {
    sqlite3* handle = nullptr;
    // Whoever shares the connection locks it; a mutex of SQLite's own around each call is not
    // needed, and a million records would pay for it.
    const int result =
        sqlite3_open_v2(path.c_str(), &handle,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(handle);
    Check(result == SQLITE_OK, "Cannot open the database");
    // A second host on the same file waits for the first one's transactions (our choice of time).
    sqlite3_busy_timeout(handle, 5000);
}

void CSqliteConnection::Execute(const char* sql) {
    Check(sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK,
          "Cannot run a statement");
}

void CSqliteConnection::Atomically(const std::function<void()>& writes) {
    // Takes the right to write at once: one that first reads could be refused it later.
    Execute("BEGIN IMMEDIATE");
    try {
        writes();
        Execute("COMMIT");
    } catch (...) {
        // A failure is not reported: the next transaction meets it.
        sqlite3_exec(Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void CSqliteConnection::Check(bool good, const char* what) {
    if (good) {
        return;
    }
    std::string text = std::string(what) + ": " + sqlite3_errmsg(Handle()) + ": " + path_;
    // SQLite's text says only which call failed, where the system refused one.
    const int error = sqlite3_system_errno(Handle());
    const int code = sqlite3_errcode(Handle());
    if (error != 0 && (code == SQLITE_CANTOPEN || code == SQLITE_IOERR)) {
        text += ": " + std::system_category().message(error);
    }
    if (firstFailure_.empty()) {
        firstFailure_ = text;
    }
    throw CDatabaseError(text);
}

CSqliteStatement::CSqliteStatement(CSqliteConnection& connection, const char* sql,
                                   const std::vector<std::string_view>& texts)
    : connection_(connection), statement_(nullptr, sqlite3_finalize) {
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v2(connection.Handle(), sql, -1, &statement, nullptr);
    statement_.reset(statement);
    connection.Check(result == SQLITE_OK, "Cannot prepare a statement");
    int index = 0;
    for (const std::string_view text : texts) {
        const int bound = sqlite3_bind_text64(statement, ++index, text.data(), text.size(),
                                              SQLITE_TRANSIENT, SQLITE_UTF8);
        connection.Check(bound == SQLITE_OK, "Cannot bind a text");
    }
}

void CSqliteStatement::BindBlob(int index, std::string_view bytes) {
    // A null pointer would store NULL and not an empty blob.
    const char* data = bytes.empty() ? "" : bytes.data();
    const int result =
        sqlite3_bind_blob64(statement_.get(), index, data, bytes.size(), SQLITE_TRANSIENT);
    connection_.Check(result == SQLITE_OK, "Cannot bind a blob");
}

bool CSqliteStatement::Step() {
    const int result = sqlite3_step(statement_.get());
    if (result == SQLITE_ROW) {
        return true;
    }
    // Its own result is that of the step.
    const int ended = sqlite3_reset(statement_.get());
    connection_.Check(result == SQLITE_DONE && ended == SQLITE_OK, "Cannot run a statement");
    return false;
}

std::string CSqliteStatement::Column(int index) const {
    const void* bytes = sqlite3_column_blob(statement_.get(), index);
    const int size = sqlite3_column_bytes(statement_.get(), index);
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

}  // namespace Kyr::Lab::DevHost
