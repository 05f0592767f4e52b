// Owns the access to the databases of the SD card: one short transaction at a time, which waits for
// the locks of other programs.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "util/sqlite.h"

// How long a transaction waits for the locks of others before it gives up.
inline constexpr std::chrono::milliseconds kLockPatience{5000};

// One value of a row.
using CardValue = std::variant<std::int64_t, double, std::string>;

// A point identifier as the databases hold it: as a signed number of 32 bits.
inline std::int64_t StoredId(std::uint32_t dataId) {
  return static_cast<std::int32_t>(dataId);
}

// One prepared statement, run once for each row or read row by row. One thread uses it. It holds
// the SQLite statement.
class CardStatement {
 public:
  // A statement that cannot be prepared fails when it is used.
  CardStatement(sqlite3* database, const std::string& sql);

  // Gives the parameters their values, in order, and runs the statement. False on an error.
  bool Run(const std::vector<CardValue>& values);

  // Moves to the next row; false at the end and on an error.
  bool NextRow();
  // True when an error, not the end, has stopped NextRow.
  bool Failed() const { return m_failed; }
  // Columns of the current row, counted from 0.
  std::int64_t Integer(int column) const;
  double Real(int column) const;
  std::string Text(int column) const;

 private:
  std::unique_ptr<sqlite3_stmt, util::StatementFinalizer> m_statement;
  bool m_failed = false;
};

// Lets `write` fill one transaction on the database at `path`; a missing file is made. Returns an
// empty text when everything is recorded. Nothing is recorded when `write` returns false, when the
// locks of others outlast `patience`, or when SQLite fails; then the result says why.
std::string Record(const std::string& path, std::chrono::milliseconds patience,
                   const std::function<bool(sqlite3*)>& write);

// Lets `take` see each row of a query on the database at `path`. False when there is no such file
// or it could not be read to the end.
bool ReadRows(const std::string& path, std::chrono::milliseconds patience, const std::string& query,
              const std::function<void(const CardStatement&)>& take);
