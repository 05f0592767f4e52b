#include "support/logfiles.h"

#include <ostream>
#include <sstream>
#include <string_view>

#include "support/files.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace test {
namespace {

// The records of a day file. A head is "YYYY-MM-DD hh:mm:ss logType:LEVEL"; the message follows
// after a blank, up to the line end before the next head.
std::vector<LogRecord> ParseTextLog(const std::string& text) {
  constexpr std::string_view kMark = " logType:";
  constexpr std::size_t kMarkAt = 19;
  std::vector<LogRecord> records;
  std::istringstream lines(text);
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

}  // namespace

void PrintTo(const LogRecord& record, std::ostream* out) {
  *out << record.level << ' ' << record.message;
}

std::vector<LogRecord> ReadTextLog() {
  std::string text;
  if (!Exists(paths::kLogDirectory)) return {};
  for (const auto& name : List(paths::kLogDirectory)) {
    if (name.ends_with("_log.txt")) text += ReadFile(paths::kLogDirectory + ("/" + name));
  }
  return ParseTextLog(text);
}

std::vector<LogRecord> ReadDatabaseLog() {
  std::vector<LogRecord> records;
  if (!Exists(paths::kLogDatabase)) return records;
  util::Database database(paths::kLogDatabase);
  util::Statement rows = database.Prepare("select log_Type, log_Desc from log_tbl order by Pid");
  while (rows && rows.NextRow()) {
    records.push_back({std::string(rows.Text(0)), std::string(rows.Text(1))});
  }
  return records;
}

std::vector<std::string> OfLevel(const std::vector<LogRecord>& records, const std::string& level) {
  std::vector<std::string> messages;
  for (const auto& record : records) {
    if (record.level == level) messages.push_back(record.message);
  }
  return messages;
}

}  // namespace test
