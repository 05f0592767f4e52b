// The text log: one file a day in /tmp/CloudLog, at most five of them.
//
// A file is named "MMDD_log.txt" after the day on which it was written. Each record is two lines:
//   YYYY-MM-DD hh:mm:ss logType:LEVEL
//    message
// The directory is volatile: the retention only bounds the space used while the gateway runs.
#pragma once

#include <cstddef>
#include <list>

#include "log/logstore.h"

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

// Takes the records of log_Text and appends them to today's file every 5 s. Any thread may call
// InsertLog, only the record thread the rest. It locks the queue first, then the files, and keeps
// no file open.
class CLogTxt : public LogStore<CLogTxt, ST_TXT_LOG_NODE, &ST_TXT_LOG_NODE::message> {
 public:
  ~CLogTxt() override;

  // Creates the log directory. Returns 0.
  int Init();
  // Writes `queue` to the end of today's file, empties it and applies the retention. Returns 0 when
  // it wrote, -1 when the queue was empty or the file could not be opened. A file that cannot be
  // opened is reported on standard output, and the records stay queued for the next cycle. A
  // symbolic link in the file's place is not followed: in /tmp anybody may have put it there.
  int WriteLog(std::list<ST_TXT_LOG_NODE>* queue);
  // The retention: if there are more than five day files, removes the one with the smallest number.
  // The number is month x 100 + day, so in January the files of December count as newer than
  // January's own.
  void CheckSizeAndClear();
  // Writes the path of the day file with the smallest number into the `size` bytes at `path` and
  // returns the number of day files. 0: there is none; -1: the directory cannot be opened. Nothing
  // is written then.
  int GetFirstLogTxt(char* path, unsigned char size);
  // Creates every missing directory along `path`. Returns 0; -1 on failure or for a null path.
  int CreateDirectory(const char* path);

 private:
  friend class Singleton<CLogTxt>;
  CLogTxt();

  int m_maxFiles = 5;
  util::Mutex m_fileMutex;  // guards the log directory and its files
};
