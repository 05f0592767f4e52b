// Reads one day file of the text log, "/tmp/CloudLog/MMDD_log.txt".
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "collect/logfile.h"
#include "collect/logs.h"
#include "collect/logtime.h"

namespace status {

// A place in a file.
struct FilePosition {
  off_t offset = 0;
  long line = 1;  // of the byte at the offset
};

// One day file, record by record, from a position on. It keeps a block of 64 KiB, whatever the file
// holds. What comes before the first record is passed over.
class TextFile {
 public:
  // Reads the descriptor up to `end`, which is the file's size.
  TextFile(int file, off_t end) : m_file(file), m_end(end) {}

  // Starts at the position; the lines up to `offset` are counted and passed over.
  void StartAt(const FilePosition& from, off_t offset);
  // The time of the next record.
  std::optional<std::time_t> NextTime();
  // Sets time, level, text and line. False at the end.
  bool Next(LogRecord* record);
  // Where to go on later: the end, or the last record when its end was not written yet.
  FilePosition GoOnAt() const { return m_goOnAt; }

 private:
  struct Head {
    std::time_t time;
    std::string level;
    FilePosition at;
    std::size_t bytes;
  };
  bool Fill();
  bool FindHead(std::string* passed);
  std::optional<Head> HeadAt(std::size_t mark);
  void Pass(std::size_t end, std::string* passed);

  int m_file;
  off_t m_end;
  off_t m_readTo = 0;          // offset behind the buffer
  std::string m_buffer;        // what was read and not passed yet begins at m_at
  std::size_t m_at = 0;        // in m_buffer
  long m_line = 1;             // line of the byte at m_at
  char m_lastByte = '\n';      // before m_at
  std::optional<Head> m_head;  // of the next record
  bool m_isAtEnd = false;
  FilePosition m_goOnAt;
  RecordTimes m_times;
};

}  // namespace status
