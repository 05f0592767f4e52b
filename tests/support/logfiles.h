// The records in the log files.
#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/files.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace test {

struct LogRecord {
  std::string level;    // "INFO", "WARN", …
  std::string message;  // as stored

  bool operator==(const LogRecord&) const = default;
};
// Shows a record in the message of a failed test.
inline void PrintTo(const LogRecord& record, std::ostream* out) {
  *out << record.level << ' ' << record.message;
}

// All records of the day files, in the order of their names. A record's head is
// "YYYY-MM-DD hh:mm:ss logType:LEVEL"; the message follows after a blank, up to the line end before
// the next head.
inline std::vector<LogRecord> ReadTextLog() {
  constexpr std::string_view kMark = " logType:";
  constexpr std::size_t kMarkAt = 19;
  if (!Exists(paths::kLogDirectory)) return {};
  std::stringstream lines;
  for (const auto& name : List(paths::kLogDirectory)) {
    if (name.ends_with("_log.txt")) lines << ReadFile(paths::kLogDirectory + ("/" + name));
  }

  std::vector<LogRecord> records;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(kMark) == kMarkAt) {
      records.push_back({line.substr(kMarkAt + kMark.size()), ""});
    } else if (!records.empty()) {
      records.back().message += line + "\n";
    }
  }
  for (auto& [level, message] : records) {
    if (message.starts_with(' ')) message.erase(0, 1);
    if (message.ends_with('\n')) message.pop_back();
  }
  return records;
}

// All records of the log database.
inline std::vector<LogRecord> ReadDatabaseLog() {
  std::vector<LogRecord> records;
  if (!Exists(paths::kLogDatabase)) return records;
  util::Database database(paths::kLogDatabase);
  util::Statement rows = database.Prepare("select log_Type, log_Desc from log_tbl order by Pid");
  while (rows && rows.NextRow()) {
    records.push_back({std::string(rows.Text(0)), std::string(rows.Text(1))});
  }
  return records;
}

// The messages of one level.
inline std::vector<std::string> OfLevel(const std::vector<LogRecord>& records,
                                        const std::string& level) {
  std::vector<std::string> messages;
  for (const auto& record : records) {
    if (record.level == level) messages.push_back(record.message);
  }
  return messages;
}

}  // namespace test
