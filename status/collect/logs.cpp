#include "collect/logs.h"

#include "collect/logdatabase.h"
#include "collect/textlog.h"
#include "util/text.h"

namespace status {
namespace {

// One log with the record that is next.
template <typename Log>
struct Source {
  explicit Source(Log& from) : log(from), trouble(log.Start()) { Advance(); }

  void Advance() { isAtEnd = !log.Next(&record); }
  // Gives the record and goes on. False to end the reading.
  bool Give(const LogRange& range, const EachRecord& each) {
    bool isWanted = true;
    if (!range.since || record.time >= *range.since) {
      ++given;
      isWanted = each(record);
    }
    Advance();
    return isWanted;
  }
  Fact<long> Result(const std::string& why) const {
    return why.empty() ? Known(given) : Unknown<long>(why);
  }

  Log& log;
  std::string trouble;
  LogRecord record;
  bool isAtEnd = false;
  long given = 0;
};

}  // namespace

std::string LogRecord::Where() const {
  return util::Format(isDatabase ? "%s, Pid %ld" : "%s:%ld", file.c_str(), line);
}

struct LogStream::Logs {
  TextLog text;
  LogDatabase database;
};

LogStream::LogStream(const Place& place, const LogRange& range)
    : m_logs(new Logs{TextLog(place, range.tailBytes), LogDatabase(place)}), m_range(range) {}

LogStream::~LogStream() = default;

LogsRead LogStream::Read(const EachRecord& each) {
  Source text(m_logs->text);
  Source database(m_logs->database);
  bool isWanted = true;
  while (isWanted && !(text.isAtEnd && database.isAtEnd)) {
    const bool isDatabaseNext =
        text.isAtEnd || (!database.isAtEnd && database.record.time <= text.record.time);
    isWanted = isDatabaseNext ? database.Give(m_range, each) : text.Give(m_range, each);
  }
  return {text.Result(text.trouble), database.Result(m_logs->database.Trouble())};
}

LogsRead ReadLogs(const Place& place, const LogRange& range, const EachRecord& each) {
  return LogStream(place, range).Read(each);
}

}  // namespace status
