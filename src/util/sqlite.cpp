#include "util/sqlite.h"

#include <sqlite3.h>

namespace util {

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void DatabaseCloser::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

bool Statement::NextRow() {
  const int result = sqlite3_step(m_statement.get());
  m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
  return result == SQLITE_ROW;
}

std::int32_t Statement::Integer(int column) const {
  return sqlite3_column_int(m_statement.get(), column);
}

double Statement::Real(int column) const {
  return sqlite3_column_double(m_statement.get(), column);
}

std::string_view Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(m_statement.get(), column);
  if (text == nullptr) return {};
  return reinterpret_cast<const char*>(text);
}

bool Execute(sqlite3* database, const char* sql) {
  return sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Statement Prepare(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, sql, -1, &statement, nullptr);
  return Statement(statement);
}

const char* ErrorText(sqlite3* database) {
  return sqlite3_errmsg(database);
}

Database::Database(const char* path) {
  sqlite3* database = nullptr;
  m_opened = sqlite3_open(path, &database) == SQLITE_OK;
  m_database.reset(database);
}

void Database::WaitForLocks(int milliseconds) {
  if (m_opened) sqlite3_busy_timeout(Get(), milliseconds);
}

}  // namespace util
