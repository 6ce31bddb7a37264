// A SQLite connection, its statements, and transactions.
//
// Threads: one connection and what uses it by one thread at a time.
// Ownership: statements and transactions must not outlive their connection.
// Errors: CDatabaseError with SQLite's text, the system's reason and the path.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

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

    /// Runs statements that give no rows.
    void Execute(const char* sql);

    /// Throws unless `good`. REQUIRES: the last call on the connection is the one that failed.
    void Check(bool good, const char* what);
    /// What the first call that failed met; empty when none did.
    const std::string& FirstFailure() const { return firstFailure_; }

    sqlite3* Handle() const { return handle_.get(); }

  private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };

    const std::string path_;
    std::unique_ptr<sqlite3, Close> handle_;
    std::string firstFailure_;
};

class CSqliteStatement {
  public:
    CSqliteStatement(CSqliteConnection& connection, const char* sql);

    /// Binds the parameter `index`, from 1. The bytes are copied.
    void BindText(int index, std::string_view text);
    void BindBlob(int index, std::string_view bytes);

    /// Runs to the next row; false when there is none, and the statement may run afresh then.
    bool Step();
    /// The bytes of a column of the current row, from 0.
    std::string Column(int index) const;

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    CSqliteConnection& connection_;  // borrowed
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// All of several writes, or none of them. There is one at a time on a connection.
class CTransaction {
  public:
    explicit CTransaction(CSqliteConnection& connection);
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    /// Takes everything back that has not been committed.
    ~CTransaction();

    /// What was written is on disk when the call returns.
    void Commit();

  private:
    CSqliteConnection& connection_;  // borrowed
    bool committed_ = false;
};

}  // namespace Kyr::Lab::DevHost
