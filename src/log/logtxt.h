// The text log: one file a day in /tmp/CloudLog, at most five of them.
//
// A file is named "MMDD_log.txt" after the day on which it was written. Each record is two lines:
//   YYYY-MM-DD hh:mm:ss logType:LEVEL
//    message
// The directory is volatile: the retention only bounds the space used while the gateway runs.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <list>

#include "log/singleton.h"
#include "util/mutex.h"

// One queued record.
struct ST_TXT_LOG_NODE {
  char date[12];       // "YYYY-MM-DD", local time of the log_Text call
  char time[12];       // "hh:mm:ss"
  char logType[12];    // level text
  char message[2048];  // at most 2,046 characters
};
static_assert(sizeof(ST_TXT_LOG_NODE) == 2084);
static_assert(offsetof(ST_TXT_LOG_NODE, time) == 12);
static_assert(offsetof(ST_TXT_LOG_NODE, logType) == 24);
static_assert(offsetof(ST_TXT_LOG_NODE, message) == 36);

// What it is for: takes the records of log_Text and appends them to today's file every 5 s.
// Threads: any for InsertLog; the record thread for the rest. Lock order: queue, then file.
// Owns: the queue and the detached record thread, which runs for the life of the process.
class CLogTxt : public Singleton<CLogTxt> {
 public:
  ~CLogTxt() override;

  // Creates the log directory. Returns 0.
  int Init();
  // Queues a record with the time of the call; the message is cut at 2,046 characters.
  void InsertLog(const char* logType, const char* message);
  // Drains `queue` into today's file and applies the retention. Returns 0 when it wrote; -1 when
  // the queue was empty or the file could not be opened, which is told on standard output and
  // leaves the records queued for the next cycle. A symbolic link in the file's place cannot: in
  // /tmp anybody may have laid it.
  int WriteLog(std::list<ST_TXT_LOG_NODE>* queue);
  // The entry of the record thread, given the store: writes, sleeps 5 s, for ever.
  static void* RecordThread(void* self);
  // The retention: when more than five day files are there, removes the one with the smallest
  // number. The number is month x 100 + day, so in January the files of December count as newer
  // than January's own.
  void CheckSizeAndClear();
  // Writes the path of the day file with the smallest number into the `size` bytes at `path` and
  // returns the count of day files: 0 (nothing written) without any, -1 when the directory cannot
  // be opened.
  int GetFirstLogTxt(char* path, unsigned char size);
  // Creates every missing directory along `path`. Returns 0; -1 on failure or for a null path.
  int CreateDirectory(const char* path);

 private:
  friend class Singleton<CLogTxt>;
  CLogTxt();

  int m_maxFiles = 5;
  pthread_t m_recordThread = 0;  // 0: could not be started, and messages pile up unwritten
  util::Mutex m_queueMutex;      // guards m_queue
  util::Mutex m_fileMutex;       // guards the log directory and its files
  std::list<ST_TXT_LOG_NODE> m_queue;
};
