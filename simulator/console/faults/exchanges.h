// The cloud's exchanges, counted.
#pragma once

#include <map>
#include <string>

#include "console/faults/seen.h"

namespace console {

// Reads the cloud's index, each exchange once. One thread uses it.
class Exchanges {
 public:
  explicit Exchanges(std::string index) : m_index(std::move(index)) {}

  // Takes the exchanges since the last look. An index that is missing or busy is looked at again
  // next time.
  void Look();
  const std::map<std::string, ExchangeCounts>& Counts() const { return m_counts; }

 private:
  const std::string m_index;
  long m_latest = 0;  // number of the latest exchange that was taken
  std::map<std::string, ExchangeCounts> m_counts{};
};

}  // namespace console
