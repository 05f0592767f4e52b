// What stands in the log files.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace test {

struct LogRecord {
  std::string level;    // "INFO", "WARN", …
  std::string message;  // as the store keeps it

  bool operator==(const LogRecord&) const = default;
};
// How a test that fails shows a record.
void PrintTo(const LogRecord& record, std::ostream* out);

// All records of the day files, in the order of their names, and of the log database.
std::vector<LogRecord> ReadTextLog();
std::vector<LogRecord> ReadDatabaseLog();
// Only the messages of one level.
std::vector<std::string> OfLevel(const std::vector<LogRecord>& records, const std::string& level);

}  // namespace test
