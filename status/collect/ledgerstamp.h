// The stamps in the names of data files.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace status {

// Reads the stamps of many names. Stamps of one hour follow each other in the ledger, so the time
// zone is asked once an hour of stamps. One thread.
class StampReader {
 public:
  // The 14 digits before ".tar.gz" as local time; none when they are no real time.
  std::optional<std::time_t> Of(std::string_view name);

 private:
  void TakeHour(std::string_view hour);

  std::string m_hour;                   // "YYYYMMDDhh" of the latest stamp
  std::optional<std::time_t> m_begins;  // that hour, when all its minutes follow each other
};

}  // namespace status
