// Stretches without files of live values, and why.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "collect/place.h"
#include "console/watch/clockwatch.h"
#include "console/watch/pace.h"
#include "judge/gaps.h"

namespace console {

// A gap as people see it.
struct SeenGap {
  std::time_t first = 0;  // the first boundary without a file
  std::time_t last = 0;   // the last one so far
  long missing = 0;       // files
  bool isOpen = false;    // it goes on
  std::string cause;      // one sentence without a full stop
};

// All names of a point that the logs name by these digits.
using NameOfPoint = std::function<std::string(const std::string& digits)>;

// `interval` is in seconds, above 0.
std::vector<SeenGap> SeenGapsOf(const std::vector<status::Gap>& gaps, long interval,
                                const std::deque<ClockChange>& changes, const NameOfPoint& name);

// Finds gaps with the causes that brennik-status finds. Reading both logs for the causes costs
// time, so the result is kept for some seconds. Any thread.
class GapFinder {
 public:
  GapFinder(status::Place place, const SteadyNow& steadyNow)
      : m_place(std::move(place)), m_pace(steadyNow, std::chrono::milliseconds(2000), 10) {}

  // The gaps of the 31 days up to now. `files` are sorted; `interval` is in seconds, above 0.
  std::vector<status::Gap> Find(const std::vector<status::Packed>& files, long interval,
                                std::time_t now);

 private:
  status::Place m_place;
  std::mutex m_mutex;  // guards the rest, also while the logs are read
  Pace m_pace;
  std::vector<status::Gap> m_gaps;
};

// How many files of live values were due in the 31 days up to now and were never made.
long NeverMade(const std::vector<status::Packed>& files, long interval, std::time_t now);

}  // namespace console
