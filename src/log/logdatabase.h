// The log database: /tmp/CloudLog/Cloudlog.db, one table `log_tbl`, its oldest rows pruned.
//
// Columns: Pid (row number, the smallest is the oldest), RecordDate, RecordTime, log_Type,
// log_Desc.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <list>

#include "log/singleton.h"
#include "util/mutex.h"

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

// What it is for: takes the records of log_DB and inserts them, one transaction every 5 s.
// Threads: any for InsertLog; the record thread for the rest. Lock order: queue, then database.
// Owns: the queue and the detached record thread, which runs for the life of the process. No
// database handle is kept open.
class CLogDatabase : public Singleton<CLogDatabase> {
 public:
  ~CLogDatabase() override;

  // Sets the maximum number of rows to 10,000. Returns 0.
  int Init();
  // Sets the maximum number of rows.
  void LogMaxItemSet(int max);
  // Queues a record with the time of the call; the message is cut at 254 characters.
  void InsertLog(const char* logType, const char* message);
  // Prunes the table and drains `queue` into it. Returns 0 when it wrote; -1 when the queue was
  // empty, or when the database could not be made or opened: then the queue stays locked for good.
  int WriteLog(std::list<ST_LOG_NODE>* queue);
  // The entry of the record thread, given the store: writes, sleeps 5 s, for ever.
  static void* RecordThread(void* self);
  // Creates the log directory and, at `path`, the database with its table, unless the log database
  // is there. Returns 0 on success or when it is there, -1 on failure.
  int LogTableCreate(const char* path);
  // Number of rows of `table`; -1 when it cannot be counted, with SQLite's words on standard
  // output.
  int GetTableSize(sqlite3* db, const char* table);
  // Deletes the oldest rows so that `incoming` more stay within `max`; a failure is told on
  // standard output.
  void CheckSizeAndClear(sqlite3* db, const char* table, int max, int incoming);

 private:
  friend class Singleton<CLogDatabase>;
  CLogDatabase();

  // Prunes the table and moves the queue into it. False when the database cannot be opened.
  bool InsertRecords(std::list<ST_LOG_NODE>* queue);

  pthread_t m_recordThread = 0;  // 0: could not be started, and messages pile up unwritten
  util::Mutex m_queueMutex;      // guards m_queue
  util::Mutex m_databaseMutex;   // guards opening and changing the database file
  std::list<ST_LOG_NODE> m_queue;
  std::atomic<int> m_maxRows{0};
};
