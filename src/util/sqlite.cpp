#include "util/sqlite.h"

#include <sqlite3.h>

namespace util {
namespace {

constexpr char kKeepJournal[] = "PRAGMA journal_mode=PERSIST;";
constexpr char kSmallCache[] = "PRAGMA cache_size=-256";  // negative: in KiB

Failure FailureOf(int result) {
  switch (result) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return Failure::kNone;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return Failure::kDamaged;
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
      return Failure::kStatement;
    default:
      return Failure::kUnavailable;
  }
}

}  // namespace

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void DatabaseCloser::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

bool Statement::NextRow() {
  const int result = sqlite3_step(m_statement.get());
  m_failure = FailureOf(result);
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

Database::Database(const char* path, Missing missing) {
  sqlite3* database = nullptr;
  const int result = missing == Missing::kIsMade
                         ? sqlite3_open(path, &database)
                         : sqlite3_open_v2(path, &database, SQLITE_OPEN_READWRITE, nullptr);
  m_database.reset(database);
  m_opened = result == SQLITE_OK;
  m_failure = FailureOf(result);
}

void Database::WaitForLocks(int milliseconds) {
  if (m_opened) sqlite3_busy_timeout(Get(), milliseconds);
}

bool Database::MakeCommitsDurable() {
  if (m_opened) m_opened = Execute(std::string(kKeepJournal) + kSmallCache);
  return m_opened;
}

void Database::KeepCacheSmall() {
  if (m_opened) Execute(kSmallCache);
}

bool Database::Execute(const std::string& sql) {
  m_failure = FailureOf(sqlite3_exec(Get(), sql.c_str(), nullptr, nullptr, nullptr));
  return m_failure == Failure::kNone;
}

Statement Database::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  m_failure = FailureOf(sqlite3_prepare_v2(Get(), sql.c_str(), -1, &statement, nullptr));
  return Statement(statement);
}

}  // namespace util
