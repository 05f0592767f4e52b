#include "acquisition/carddatabase.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>

namespace {

// Gives one value to one parameter of a statement.
class Binder {
 public:
  Binder(sqlite3_stmt* statement, int parameter) : m_statement(statement), m_parameter(parameter) {}

  int operator()(std::int64_t value) const {
    return sqlite3_bind_int64(m_statement, m_parameter, value);
  }
  int operator()(double value) const {
    return sqlite3_bind_double(m_statement, m_parameter, value);
  }
  // Not copied: the text lives until the statement has run.
  int operator()(const std::string& value) const {
    return sqlite3_bind_text(m_statement, m_parameter, value.data(), static_cast<int>(value.size()),
                             nullptr);
  }

 private:
  sqlite3_stmt* m_statement;
  int m_parameter;
};

std::string CannotWrite(const std::string& path, const char* reason) {
  return "cannot write " + path + ": " + reason;
}

}  // namespace

CardStatement::CardStatement(sqlite3* database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr);
  m_statement.reset(statement);
}

bool CardStatement::Run(const std::vector<CardValue>& values) {
  sqlite3_reset(m_statement.get());
  int parameter = 0;
  for (const CardValue& value : values) {
    if (std::visit(Binder(m_statement.get(), ++parameter), value) != SQLITE_OK) return false;
  }
  return sqlite3_step(m_statement.get()) == SQLITE_DONE;
}

bool CardStatement::NextRow() {
  const int result = sqlite3_step(m_statement.get());
  m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
  return result == SQLITE_ROW;
}

std::int64_t CardStatement::Integer(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

double CardStatement::Real(int column) const {
  return sqlite3_column_double(m_statement.get(), column);
}

std::string CardStatement::Text(int column) const {
  const unsigned char* const text = sqlite3_column_text(m_statement.get(), column);
  if (text == nullptr) return {};
  return reinterpret_cast<const char*>(text);
}

std::string Record(const std::string& path, std::chrono::milliseconds patience,
                   const std::function<bool(sqlite3*)>& write) {
  util::Database database(path.c_str());
  if (!database) return CannotWrite(path, database.ErrorText());
  database.WaitForLocks(static_cast<int>(patience.count()));
  // The lock for writing is taken first. SQLite would not wait for it after a read.
  if (database.Execute("BEGIN IMMEDIATE") && write(database.Get()) && database.Execute("COMMIT")) {
    return {};
  }
  std::string trouble = CannotWrite(path, database.ErrorText());
  database.Execute("ROLLBACK");
  return trouble;
}

bool ReadRows(const std::string& path, std::chrono::milliseconds patience, const std::string& query,
              const std::function<void(const CardStatement&)>& take) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) return false;  // opening would make it
  util::Database database(path.c_str());
  if (!database) return false;
  database.WaitForLocks(static_cast<int>(patience.count()));
  CardStatement rows(database.Get(), query);
  while (rows.NextRow()) take(rows);
  return !rows.Failed();
}
