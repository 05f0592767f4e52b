// The time of a log record.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace status {

// Reads the times of records one after the other. It remembers the hour of the latest one, because
// the calendar is slow and records come in order. One thread.
class RecordTimes {
 public:
  // Bytes of "YYYY-MM-DD hh:mm:ss".
  static constexpr std::size_t kBytes = 19;

  // The Unix time of such a text in local time. Nothing when it is no time. A day 00 is taken: the
  // service writes it when its clock is beyond the calendar.
  std::optional<std::time_t> Read(std::string_view text);

 private:
  std::string m_hour;              // "YYYY-MM-DD hh"
  std::time_t m_startOfHour = -1;  // its Unix time
};

}  // namespace status
