// Both logs of the service as one stream of records.
#pragma once

#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "collect/fact.h"
#include "collect/place.h"

namespace status {

// One record. Its message is as it was logged: it may hold any byte.
struct LogRecord {
  std::time_t time = 0;  // local time of the record, to the second
  std::string level;     // "INFO", "WARN", "ERROR", "FATAL", "SEND", "RECV"
  std::string text;      // the message, without blanks and line ends around it
  std::string file;      // the gateway's own path
  long line = 0;         // line of the text log, or row (Pid) of the log database
  bool isDatabase = false;

  // "/tmp/CloudLog/1122_log.txt:17" or "/tmp/CloudLog/Cloudlog.db, Pid 17".
  std::string Where() const;
};

// Takes a record; false ends the reading.
using EachRecord = std::function<bool(const LogRecord&)>;

struct LogRange {
  std::optional<std::time_t> since;  // records before it are left out
  std::size_t tailBytes = 0;         // of the text logs, only the last so many bytes; 0: all
};

// Whether each log could be read: the number of records, or why not.
struct LogsRead {
  Fact<long> text;
  Fact<long> database;
};

// Reads both logs, and later what is new in them. One thread.
class LogStream {
 public:
  LogStream(const Place& place, const LogRange& range);
  ~LogStream();
  LogStream(const LogStream&) = delete;
  LogStream& operator=(const LogStream&) = delete;

  // Gives the records that were not given yet, as ReadLogs does.
  LogsRead Read(const EachRecord& each);

 private:
  struct Logs;
  std::unique_ptr<Logs> m_logs;
  LogRange m_range;
};

// Gives the records of both logs in the order of their times; records of the same second of the log
// database come first. When the clock was set back, each log keeps its own order. Memory is bounded
// whatever the files hold: a message is cut at 4,096 bytes, binary content is passed on, the
// database is read in pages of 1,000 rows. No lock is taken.
LogsRead ReadLogs(const Place& place, const LogRange& range, const EachRecord& each);

}  // namespace status
