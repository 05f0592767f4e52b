// The records in the log files.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace test {

struct LogRecord {
  std::string level;    // "INFO", "WARN", …
  std::string message;  // as stored

  bool operator==(const LogRecord&) const = default;
};
// Shows a record in the message of a failed test.
void PrintTo(const LogRecord& record, std::ostream* out);

// All records of the day files, in the order of their names; all records of the log database.
std::vector<LogRecord> ReadTextLog();
std::vector<LogRecord> ReadDatabaseLog();
// The messages of one level.
std::vector<std::string> OfLevel(const std::vector<LogRecord>& records, const std::string& level);

}  // namespace test
