// What the logs tell about one data file.
#pragma once

#include <cstddef>
#include <ctime>
#include <deque>
#include <string>
#include <vector>

#include "collect/logs.h"

namespace status {

// Picks the records that belong to a file out of the stream of all records. It keeps the first and
// the last ones of a file that is sent again and again, so its memory is bounded.
class FileLife {
 public:
  // What records name it by: "S20261122040000"; nothing belongs to an empty name.
  explicit FileLife(std::string name) : m_name(std::move(name)) {}

  // Takes the next record; always true.
  bool Take(const LogRecord& record);
  // Adds the time at which the archive on the card was written. After the last record.
  void AddArchive(std::time_t written);
  bool IsEmpty() const { return m_first.empty(); }
  // Prints a line for each record, in the order of their times.
  void Print() const;

 private:
  struct Event {
    std::time_t time;
    const char* what;
    std::string text;
  };
  void Add(Event event);

  std::string m_name;
  bool m_isSent = false;  // its transfer has begun: the next answer is its own
  std::vector<Event> m_first;
  std::deque<Event> m_last;
  std::size_t m_leftOut = 0;
};

}  // namespace status
