// Owners of SQLite connections and statements. Only sqlite.cpp includes sqlite3.h.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace util {

// How long a statement waits for another program's short lock.
inline constexpr int kLockWaitMilliseconds = 2000;

// Why a statement, or the opening of a database, failed.
enum class Failure {
  kNone,
  kStatement,    // the statement does not fit the tables: a name is taken, a column is missing
  kDamaged,      // the file is no database, or its content is damaged
  kUnavailable,  // a lock, a full card, no memory, an I/O error: nothing is known of the content
};

// What keeps a connection that only reads from reading. It refines Failure::kUnavailable.
enum class Hindrance {
  kNone,
  kLocked,           // another connection's lock
  kUnfinishedWrite,  // a journal must be played back first, which a reader may not do
  kTooLong,          // the time of LimitTime has passed
  kOther,            // no right to read it, an I/O error, no memory; see the error text
};

// A failure with SQLite's error message.
struct SqlError {
  Failure why = Failure::kNone;
  std::string text;

  explicit operator bool() const { return why != Failure::kNone; }
};

struct StatementFinalizer {
  void operator()(sqlite3_stmt* statement) const;
};

// One prepared query, read row by row by the thread that prepared it. It holds the statement and
// finalises it with the object.
class Statement {
 public:
  explicit Statement(sqlite3_stmt* statement) : m_statement(statement) {}

  // False when the query could not be prepared.
  explicit operator bool() const { return m_statement != nullptr; }
  // Moves to the next row. False at the end and on an error.
  bool NextRow();
  // Whether NextRow stopped at an error and not at the end, and why.
  bool Failed() const { return m_failure != Failure::kNone; }
  Failure WhyFailed() const { return m_failure; }
  // Columns of the current row, counted from 0. NULL is read as 0 or the empty text. A text is
  // valid until the next call of NextRow.
  std::int32_t Integer(int column) const;
  std::int64_t Integer64(int column) const;
  double Real(int column) const;
  std::string_view Text(int column) const;

 private:
  std::unique_ptr<sqlite3_stmt, StatementFinalizer> m_statement;
  Failure m_failure = Failure::kNone;
};

// For a connection that the caller owns: run a statement without rows (false on an error), prepare
// a query, get SQLite's message for the latest failure.
bool Execute(sqlite3* database, const char* sql);
Statement Prepare(sqlite3* database, const char* sql);
const char* ErrorText(sqlite3* database);

struct DatabaseCloser {
  void operator()(sqlite3* database) const;
};

// One open database, used by the thread that opened it, normally for one operation. It holds the
// connection and closes it with the object, also after a failed open.
class Database {
 public:
  enum class Missing { kIsMade, kFails };

  // Opens the file. `missing` tells whether a missing file is created or is a failure.
  explicit Database(const char* path, Missing missing = Missing::kIsMade);
  // Opens an existing file for a reader that must leave no trace: nothing is written, made or
  // removed, neither the file nor one beside it. The content is not trusted: SQLite's memory in the
  // whole process, and the length of a value, are limited.
  static Database OpenForReading(const char* path);

  // False when the open failed. ErrorText then says why.
  explicit operator bool() const { return m_opened; }
  sqlite3* Get() const { return m_database.get(); }

  // Lets statements wait up to `milliseconds` for another connection's lock. Without it they fail
  // at once.
  void WaitForLocks(int milliseconds);
  // Keeps the journal file after a commit, and the cache small. By default SQLite deletes the
  // journal; after a power cut it can be back, and would then undo the commit. When this fails, the
  // result is false and the connection counts as not opened.
  bool MakeCommitsDurable();
  // Keeps the cache small, which costs a long reading nothing. A failure is ignored.
  void KeepCacheSmall();
  // Does not trust the content: limits SQLite's memory in the whole process and the length of a
  // value. OpenForReading has done so.
  void DistrustContent();
  // Ends every statement that still runs so many milliseconds from now.
  void LimitTime(int milliseconds);
  bool Execute(const std::string& sql);
  Statement Prepare(const std::string& sql);
  // Why the open, or the latest Execute or Prepare, failed.
  Failure WhyFailed() const { return m_failure; }
  // What hindered the latest call for this connection, statements included.
  Hindrance WhyHindered() const;
  const char* ErrorText() const { return util::ErrorText(Get()); }
  SqlError Error() const { return {m_failure, ErrorText()}; }

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  Database() = default;

  std::unique_ptr<Deadline> m_deadline;  // of LimitTime; the connection keeps a pointer to it
  std::unique_ptr<sqlite3, DatabaseCloser> m_database;
  bool m_opened = false;
  Failure m_failure = Failure::kNone;
};

}  // namespace util
