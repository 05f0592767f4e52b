#include "support/databasefile.h"

#include <stdexcept>
#include <utility>

namespace test {
namespace {

constexpr int kLockWaitMilliseconds = 20'000;  // longer than any test holds a lock

[[noreturn]] void Fail(const std::string& sql, const util::Database& database) {
  throw std::runtime_error(sql + ": " + database.ErrorText());
}

}  // namespace

DatabaseFile::DatabaseFile(std::string path) : m_path(std::move(path)), m_database(m_path.c_str()) {
  if (!m_database) Fail(m_path, m_database);
}

void DatabaseFile::Run(const std::string& sql) {
  m_database.WaitForLocks(kLockWaitMilliseconds);
  if (!m_database.Execute(sql)) Fail(sql, m_database);
}

bool DatabaseFile::Try(const std::string& sql) {
  m_database.WaitForLocks(0);
  return m_database.Execute(sql);
}

std::vector<std::string> DatabaseFile::Lines(const std::string& query) {
  m_database.WaitForLocks(kLockWaitMilliseconds);
  util::Statement rows = m_database.Prepare(query);
  if (!rows) Fail(query, m_database);
  std::vector<std::string> lines;
  while (rows.NextRow()) lines.emplace_back(rows.Text(0));
  return lines;
}

}  // namespace test
