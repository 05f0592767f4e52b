// Owners of SQLite connections and statements. sqlite3.h is included by sqlite.cpp alone.
#pragma once

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
  kStatement,    // it does not fit what is there: a name that is taken, a column that is missing
  kDamaged,      // the file is no database, or its content is damaged
  kUnavailable,  // it says nothing about the content: a lock, a full card, no memory, an I/O error
};

// A failure with SQLite's own words for it.
struct SqlError {
  Failure why = Failure::kNone;
  std::string text;

  explicit operator bool() const { return why != Failure::kNone; }
};

struct StatementFinalizer {
  void operator()(sqlite3_stmt* statement) const;
};

// What it is for: one prepared query, read row by row.
// Threads: the one that prepared it. Owns: the statement, finalised with the object.
class Statement {
 public:
  explicit Statement(sqlite3_stmt* statement) : m_statement(statement) {}

  // False when the query could not be prepared.
  explicit operator bool() const { return m_statement != nullptr; }
  // Moves to the next row; false at the end and on an error.
  bool NextRow();
  // Whether an error, not the end, has stopped NextRow, and which.
  bool Failed() const { return m_failure != Failure::kNone; }
  Failure WhyFailed() const { return m_failure; }
  // Columns of the current row, counted from 0. A NULL reads as 0 and as the empty text; the text
  // lives until the next call of NextRow.
  std::int32_t Integer(int column) const;
  double Real(int column) const;
  std::string_view Text(int column) const;

 private:
  std::unique_ptr<sqlite3_stmt, StatementFinalizer> m_statement;
  Failure m_failure = Failure::kNone;
};

// On a connection that somebody else owns: runs a statement without rows (false on an error),
// prepares a query, gives SQLite's own words for the latest failure.
bool Execute(sqlite3* database, const char* sql);
Statement Prepare(sqlite3* database, const char* sql);
const char* ErrorText(sqlite3* database);

struct DatabaseCloser {
  void operator()(sqlite3* database) const;
};

// What it is for: one open database, used and closed within one operation.
// Threads: the one that opened it. Owns: the connection, closed with the object, also after a
// failed open.
class Database {
 public:
  enum class Missing { kIsMade, kFails };

  // Opens the file; `missing` says what becomes of one that is not there.
  explicit Database(const char* path, Missing missing = Missing::kIsMade);

  // False when the open failed; ErrorText then says why.
  explicit operator bool() const { return m_opened; }
  sqlite3* Get() const { return m_database.get(); }

  // Lets statements wait up to `milliseconds` for another process's lock instead of failing at
  // once.
  void WaitForLocks(int milliseconds);
  // Has every commit reach the disk before it counts as made, and keeps the cache small. With
  // SQLite's own setting a power cut can bring the deleted journal back, which then undoes the
  // commit. False, and the connection counts as not opened, when that cannot be set.
  bool MakeCommitsDurable();
  // Keeps the cache small: a long reading gains nothing by a large one. A favour, not more.
  void KeepCacheSmall();
  bool Execute(const std::string& sql);
  Statement Prepare(const std::string& sql);
  // Why the open, or the latest Execute or Prepare, failed.
  Failure WhyFailed() const { return m_failure; }
  const char* ErrorText() const { return util::ErrorText(Get()); }
  SqlError Error() const { return {m_failure, ErrorText()}; }

 private:
  std::unique_ptr<sqlite3, DatabaseCloser> m_database;
  bool m_opened = false;
  Failure m_failure = Failure::kNone;
};

}  // namespace util
