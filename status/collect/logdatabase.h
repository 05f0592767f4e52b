// Reads the log database, "/tmp/CloudLog/Cloudlog.db".
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "collect/logs.h"
#include "collect/logtime.h"
#include "util/sqlite.h"

namespace status {

// The rows of the log database in the order of their Pid, in pages of 1,000. It takes no lock at
// all: the service does not wait for a lock on its log, so a reader's lock would cost it the
// records of five seconds. Instead, a page that the service may have changed meanwhile is read
// again. Nothing is written, and no file is made. A second Start goes on with what is new.
class LogDatabase {
 public:
  explicit LogDatabase(const Place& place) : m_place(place) {}

  // Opens the file. Returns why it cannot be read, or the empty text.
  std::string Start();
  // The next record. False at the end, and when the reading fails.
  bool Next(LogRecord* record);
  // Why the reading ended early; empty when it did not.
  const std::string& Trouble() const { return m_trouble; }

 private:
  bool Open();
  void LoadPage();
  bool ReadUnchanged();
  bool ReadRows();
  std::optional<std::int32_t> Number(const char* query);
  void NoteFailure();
  LogRecord RecordOf(const util::Statement& row);

  Place m_place;
  std::unique_ptr<sqlite3, util::DatabaseCloser> m_database;
  ino_t m_inode = 0;
  std::int32_t m_lastPid = 0;  // of the latest row that was read
  std::vector<LogRecord> m_page;
  std::size_t m_next = 0;  // of m_page
  std::time_t m_time = 0;  // of the latest row
  RecordTimes m_times;
  std::string m_trouble;
};

}  // namespace status
