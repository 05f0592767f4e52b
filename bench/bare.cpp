#include "bare.h"

#include <stdexcept>

namespace {

void Check(sqlite3* database, int result) {
  if (result != SQLITE_OK && result != SQLITE_DONE) {
    throw std::runtime_error(sqlite3_errmsg(database));
  }
}

}  // namespace

BareDatabase::BareDatabase(const char* path) {
  Check(m_database, sqlite3_open_v2(path, &m_database, SQLITE_OPEN_READWRITE, nullptr));
}

void BareDatabase::Run(const char* sql) {
  Check(m_database, sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr));
}

BareStatement::BareStatement(const BareDatabase& database, const char* sql) {
  Check(database.Get(), sqlite3_prepare_v2(database.Get(), sql, -1, &m_statement, nullptr));
}

BareStatement& BareStatement::Bind(int parameter, std::int64_t number) {
  sqlite3_bind_int64(m_statement, parameter, number);
  return *this;
}

BareStatement& BareStatement::Bind(int parameter, std::string_view text) {
  sqlite3_bind_text(m_statement, parameter, text.data(), static_cast<int>(text.size()),
                    SQLITE_STATIC);
  return *this;
}

bool BareStatement::Next() {
  const int result = sqlite3_step(m_statement);
  if (result == SQLITE_ROW) return true;
  Check(sqlite3_db_handle(m_statement), result);
  return false;
}

void BareStatement::Run() {
  while (Next()) {
  }
  Reset();
}

std::string_view BareStatement::Text(int column) const {
  const auto* text = sqlite3_column_text(m_statement, column);
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
}
