// The text log: all day files of /tmp/CloudLog, one after the other.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "collect/logs.h"
#include "collect/textfile.h"
#include "util/file.h"

namespace status {

// All day files, in the order of their first records. A second Start goes on with what is new.
class TextLog {
 public:
  // `tailBytes`: as in LogRange.
  TextLog(const Place& place, std::size_t tailBytes) : m_place(place), m_tailBytes(tailBytes) {}

  // Looks for the files. Returns why there is nothing to read, or the empty text.
  std::string Start();
  // The next record. False at the end.
  bool Next(LogRecord* record);

 private:
  struct DayFile {
    std::string name;  // "1122_log.txt"
    ino_t inode = 0;
    off_t size = 0;
    off_t start = 0;        // where the next reading begins
    FilePosition position;  // where the last reading ended
    std::time_t firstTime = 0;
    bool isNew = true;
  };
  std::string LookAt(const std::string& name);
  void SkipToTail();
  bool OpenNext();
  void Leave();

  Place m_place;
  std::size_t m_tailBytes;
  std::vector<DayFile> m_files;
  std::vector<DayFile> m_before;  // as the Start before left them
  std::size_t m_next = 0;         // of m_files
  std::unique_ptr<util::Descriptor> m_open;
  std::optional<TextFile> m_reader;
};

}  // namespace status
