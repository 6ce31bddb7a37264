// A SQLite connection and its statements.
//
// Threads: one connection and what uses it by one thread at a time.
// Ownership: statements must not outlive their connection.
// Errors: CDatabaseError with SQLite's text, the system's reason and the path.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace Kyr::Lab::DevHost {

class CDatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class CSqliteConnection {
  public:
    /// Opens or creates the database in the file `path`.
    explicit CSqliteConnection(const std::string& path);
    CSqliteConnection(const CSqliteConnection&) = delete;  // statements point to it
    CSqliteConnection& operator=(const CSqliteConnection&) = delete;

    /// Runs statements that give no rows.
    void Execute(const char* sql);
    /// All of several writes, or none of them when one throws. What was written is on disk when the
    /// call returns. REQUIRES: `writes` makes no such call.
    void Atomically(const std::function<void()>& writes);

    /// Throws unless `good`. REQUIRES: the last call on the connection is the one that failed.
    void Check(bool good, const char* what);
    /// What the first call that failed met; empty when none did.
    const std::string& FirstFailure() const { return firstFailure_; }

    sqlite3* Handle() const { return handle_.get(); }

  private:
    const std::string path_;
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> handle_;
    std::string firstFailure_;
};

class CSqliteStatement {
  public:
    /// `texts` are bound to the first parameters, and stay bound from one run to the next.
    CSqliteStatement(CSqliteConnection& connection, const char* sql,
                     const std::vector<std::string_view>& texts = {});

    /// Binds the parameter `index`, from 1. The bytes are copied.
    void BindBlob(int index, std::string_view bytes);

    /// Runs to the next row; false when there is none, and the statement may run afresh then.
    bool Step();
    /// The bytes of a column of the current row, from 0.
    std::string Column(int index) const;

  private:
    CSqliteConnection& connection_;  // borrowed
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement_;
};

}  // namespace Kyr::Lab::DevHost
