// The stamps in the names of data files.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace status {

// Reads the stamps of many names. Stamps of one day follow each other in the ledger, so the time
// zone is asked once a day of stamps. One thread.
class StampReader {
 public:
  // The 14 digits before ".tar.gz" as local time; none when they are no real time.
  std::optional<std::time_t> Of(std::string_view name);

 private:
  void TakeDay(std::string_view day);

  std::uint64_t m_day = 0;              // the bytes "YYYYMMDD" of the latest stamp
  std::optional<std::time_t> m_begins;  // that day, when all its seconds follow each other
};

}  // namespace status
