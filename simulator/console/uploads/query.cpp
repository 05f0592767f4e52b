#include "console/uploads/query.h"

#include <sqlite3.h>

namespace console {
namespace {

// Gives one value to one parameter. A text is copied.
class Binder {
 public:
  Binder(sqlite3_stmt* statement, int parameter) : m_statement(statement), m_parameter(parameter) {}

  int operator()(std::int64_t value) const {
    return sqlite3_bind_int64(m_statement, m_parameter, value);
  }
  int operator()(const std::string& value) const {
    return sqlite3_bind_text(m_statement, m_parameter, value.data(), static_cast<int>(value.size()),
                             SQLITE_TRANSIENT);
  }

 private:
  sqlite3_stmt* m_statement;
  int m_parameter;
};

}  // namespace

Query::Query(sqlite3* database, const std::string& sql, const std::vector<QueryValue>& values) {
  sqlite3_stmt* statement = nullptr;
  m_good = sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK;
  m_statement.reset(statement);
  int parameter = 0;
  for (const QueryValue& value : values) {
    if (m_good) m_good = std::visit(Binder(statement, ++parameter), value) == SQLITE_OK;
  }
}

bool Query::Next() {
  if (!m_good) return false;
  const int result = sqlite3_step(m_statement.get());
  m_good = result == SQLITE_ROW || result == SQLITE_DONE;
  return result == SQLITE_ROW;
}

std::int64_t Query::Integer(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

double Query::Real(int column) const {
  return sqlite3_column_double(m_statement.get(), column);
}

std::string Query::Text(int column) const {
  const void* const bytes = sqlite3_column_blob(m_statement.get(), column);
  const int size = sqlite3_column_bytes(m_statement.get(), column);
  return bytes == nullptr
             ? ""
             : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

bool Query::IsNull(int column) const {
  return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

}  // namespace console
