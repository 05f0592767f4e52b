#include "system/support/logtimes.h"

#include "support/files.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace test {
namespace {

constexpr char kMark[] = " logType:";  // in "2024-03-07 12:05:00 logType:INFO"
constexpr std::size_t kTimeLength = 8;

std::string WholeTextLog() {
  std::string text;
  if (!Exists(paths::kLogDirectory)) return text;
  for (const auto& name : List(paths::kLogDirectory)) {
    if (name.ends_with("_log.txt")) text += ReadFile(paths::kLogDirectory + ("/" + name));
  }
  return text;
}

}  // namespace

std::vector<std::string> TextLogTimes(const std::string& beginning) {
  std::vector<std::string> times;
  const std::string text = WholeTextLog();
  const std::string wanted = "\n " + beginning;
  for (auto at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) {
    // A head needs not begin a line: the record before it may have been cut.
    const auto mark = text.rfind(kMark, at);
    const bool afterHead =
        mark != std::string::npos && text.find('\n', mark) == at && mark >= kTimeLength;
    if (afterHead) times.push_back(text.substr(mark - kTimeLength, kTimeLength));
  }
  return times;
}

std::vector<std::string> DatabaseLogTimes(const std::string& beginning) {
  std::vector<std::string> times;
  if (!Exists(paths::kLogDatabase)) return times;
  util::Database database(paths::kLogDatabase);
  util::Statement rows = database.Prepare("select RecordTime, log_Desc from log_tbl order by Pid");
  while (rows && rows.NextRow()) {
    if (rows.Text(1).starts_with(beginning)) times.emplace_back(rows.Text(0));
  }
  return times;
}

std::string DayFile(const std::string& monthAndDay) {
  return ReadFile(paths::kLogDirectory + ("/" + monthAndDay + "_log.txt"));
}

}  // namespace test
