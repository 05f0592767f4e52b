// SQLite without anything around it, for the floors of what reads and writes databases. A failure
// throws std::runtime_error.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string_view>

// One connection to an existing file.
class BareDatabase {
 public:
  explicit BareDatabase(const char* path);
  ~BareDatabase() { sqlite3_close(m_database); }
  BareDatabase(const BareDatabase&) = delete;
  BareDatabase& operator=(const BareDatabase&) = delete;

  sqlite3* Get() const { return m_database; }
  void Run(const char* sql);

 private:
  sqlite3* m_database = nullptr;
};

// One prepared statement.
class BareStatement {
 public:
  BareStatement(const BareDatabase& database, const char* sql);
  ~BareStatement() { sqlite3_finalize(m_statement); }
  BareStatement(const BareStatement&) = delete;
  BareStatement& operator=(const BareStatement&) = delete;

  // Parameters are counted from 1. A text must live until the statement has run.
  BareStatement& Bind(int parameter, std::int64_t number);
  BareStatement& Bind(int parameter, std::string_view text);
  // Moves to the next row; false at the end.
  bool Next();
  // Runs a statement without rows, and makes it ready for the next time.
  void Run();
  void Reset() { sqlite3_reset(m_statement); }
  // Columns are counted from 0.
  int Integer(int column) const { return sqlite3_column_int(m_statement, column); }
  double Real(int column) const { return sqlite3_column_double(m_statement, column); }
  std::string_view Text(int column) const;

 private:
  sqlite3_stmt* m_statement = nullptr;
};
