// A SQLite connection and its prepared statements.
//
// Threads: one connection and its statements are used by one thread at a time; whoever shares them
// holds the connection's mutex.
// Ownership: a statement must not outlive its connection.
// Errors: CDatabaseError with SQLite's text, the system's reason and the path.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <boost/thread/mutex.hpp>

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
    /// Gives up the open transaction; a failure is not reported, the next transaction meets it.
    void Rollback() noexcept;

    /// Throws unless `good`. REQUIRES: the last call on the connection is the one that failed.
    void Check(bool good, const char* what);
    /// What the first call that failed met; empty when none did. Whoever calls holds the mutex.
    const std::string& FirstFailure() const { return firstFailure_; }

    sqlite3* Handle() const { return handle_.get(); }
    boost::mutex& Mutex() { return mutex_; }

  private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };

    const std::string path_;
    std::unique_ptr<sqlite3, Close> handle_;
    std::string firstFailure_;
    boost::mutex mutex_;  // for the users of a shared connection
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
    /// Ends the current run.
    void Reset();

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    CSqliteConnection& connection_;  // borrowed
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace Kyr::Lab::DevHost
