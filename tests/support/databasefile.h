// A SQLite file of the SD card, as another program than the service uses it.
#pragma once

#include <string>
#include <vector>

#include "util/sqlite.h"

namespace test {

// A connection of the test's own, open as long as the object lives. Threads may use it one after
// the other: one may take a lock and another release it.
class DatabaseFile {
 public:
  // Opens the file and creates it if it is missing. Throws std::runtime_error on failure.
  explicit DatabaseFile(std::string path);

  const std::string& Path() const { return m_path; }
  // Runs statements. Throws std::runtime_error with SQLite's message when one fails.
  void Run(const std::string& sql);
  // Runs statements without waiting for another connection's lock. False when one fails.
  bool Try(const std::string& sql);
  // The first column of each row, as text. Throws like Run.
  std::vector<std::string> Lines(const std::string& query);

 private:
  std::string m_path;
  util::Database m_database;
};

}  // namespace test
