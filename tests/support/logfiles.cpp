#include "support/logfiles.h"

#include <ostream>
#include <sstream>

#include "support/files.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace test {
namespace {

constexpr char kLevelMark[] = " logType:";

// A record's head: "YYYY-MM-DD hh:mm:ss logType:LEVEL".
bool IsHead(const std::string& line) {
  constexpr std::size_t kMarkAt = 19;
  return line.size() > kMarkAt && line.compare(kMarkAt, sizeof(kLevelMark) - 1, kLevelMark) == 0;
}

// The message of a record without its one-blank indent and the line end that closes the record.
std::string Message(std::string body) {
  if (!body.empty() && body.front() == ' ') body.erase(0, 1);
  if (!body.empty() && body.back() == '\n') body.pop_back();
  return body;
}

std::vector<LogRecord> ParseTextLog(const std::string& text) {
  std::vector<LogRecord> records;
  std::istringstream lines(text);
  std::string body;
  for (std::string line; std::getline(lines, line);) {
    if (IsHead(line)) {
      if (!records.empty()) records.back().message = Message(body);
      records.push_back({line.substr(line.find(kLevelMark) + sizeof(kLevelMark) - 1), ""});
      body.clear();
    } else {
      body += line + "\n";
    }
  }
  if (!records.empty()) records.back().message = Message(body);
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
