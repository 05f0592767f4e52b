// A SQLite file of the SD card as a program beside the service sees it.
#pragma once

#include <string>
#include <vector>

#include "util/sqlite.h"

namespace test {

// What it is for: a connection of the test's own. Threads: one at a time; a lock that it takes may
// be let go of by another. Owns: the connection.
class DatabaseFile {
 public:
  // Opens the file, made when missing. Throws std::runtime_error when it cannot be.
  explicit DatabaseFile(std::string path);

  const std::string& Path() const { return m_path; }
  // Runs statements; throws std::runtime_error with SQLite's words when one fails.
  void Run(const std::string& sql);
  // The same; false when one fails, at once where somebody else's lock is in the way.
  bool Try(const std::string& sql);
  // The first column of each row, as text; throws like Run.
  std::vector<std::string> Lines(const std::string& query);

 private:
  std::string m_path;
  util::Database m_database;
};

}  // namespace test
