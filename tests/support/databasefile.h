// A SQLite file of the SD card, as another program than the service uses it.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "util/sqlite.h"

namespace test {

// A connection of the test's own, open as long as the object lives. Threads may use it one after
// the other: one may take a lock and another release it. A failure throws std::runtime_error with
// SQLite's message.
class DatabaseFile {
 public:
  // Opens the file and creates it if it is missing.
  explicit DatabaseFile(std::string path) : m_path(std::move(path)), m_database(m_path.c_str()) {
    if (!m_database) Fail(m_path);
    m_database.WaitForLocks(20'000);  // milliseconds; longer than any test holds a lock
  }

  const std::string& Path() const { return m_path; }
  // Runs statements.
  void Run(const std::string& sql) {
    if (!m_database.Execute(sql)) Fail(sql);
  }
  // The first column of each row, as text.
  std::vector<std::string> Lines(const std::string& query) {
    util::Statement rows = m_database.Prepare(query);
    if (!rows) Fail(query);
    std::vector<std::string> lines;
    while (rows.NextRow()) lines.emplace_back(rows.Text(0));
    return lines;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error(what + ": " + m_database.ErrorText());
  }

  std::string m_path;
  util::Database m_database;
};

}  // namespace test
