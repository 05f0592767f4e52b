// The log database: /tmp/CloudLog/Cloudlog.db with one table, `log_tbl`. The oldest rows are
// deleted when it is full.
//
// Columns: Pid (row number, the smallest is the oldest), RecordDate, RecordTime, log_Type,
// log_Desc.
#pragma once

#include <atomic>
#include <cstddef>
#include <list>

#include "log/logstore.h"

struct sqlite3;

// One queued record.
struct ST_LOG_NODE {
  char date[12];     // "YYYY-MM-DD", local time of the log_DB call
  char time[12];     // "hh:mm:ss"
  char logType[12];  // level text
  char desc[256];    // at most 254 characters
};
static_assert(sizeof(ST_LOG_NODE) == 292);
static_assert(offsetof(ST_LOG_NODE, time) == 12);
static_assert(offsetof(ST_LOG_NODE, logType) == 24);
static_assert(offsetof(ST_LOG_NODE, desc) == 36);

// Takes the records of log_DB and inserts them every 5 s, in one transaction. Any thread may call
// InsertLog, only the record thread the rest. It locks the queue first, then the database, and
// keeps no database open.
class CLogDatabase : public LogStore<CLogDatabase, ST_LOG_NODE, &ST_LOG_NODE::desc> {
 public:
  ~CLogDatabase() override;

  // Sets the maximum number of rows to 10,000. Returns 0.
  int Init();
  // Sets the maximum number of rows.
  void LogMaxItemSet(int max);
  // Deletes the oldest rows to make room for `queue`, inserts its records and empties it. Returns 0
  // when it wrote, -1 when the queue was empty or the database could not be made or opened. In the
  // last case the records stay queued, and the queue stays locked for good.
  int WriteLog(std::list<ST_LOG_NODE>* queue);
  // Creates the log directory and, at `path`, the database with its table, unless the log database
  // exists. Returns 0 if it exists now, -1 on failure.
  int LogTableCreate(const char* path);
  // Number of rows of `table`. -1 if they cannot be counted; SQLite's message then goes to standard
  // output.
  int GetTableSize(sqlite3* db, const char* table);
  // Deletes the oldest rows so that `incoming` more stay within `max`. A failure is reported on
  // standard output.
  void CheckSizeAndClear(sqlite3* db, const char* table, int max, int incoming);

 private:
  friend class Singleton<CLogDatabase>;
  CLogDatabase();

  // Makes room in the table and moves the queue into it. False when the database cannot be opened.
  bool InsertRecords(std::list<ST_LOG_NODE>* queue);

  util::Mutex m_databaseMutex;  // guards opening and changing the database file
  std::atomic<int> m_maxRows{0};
};
