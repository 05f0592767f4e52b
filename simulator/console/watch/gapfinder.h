// Stretches without files of live values, and why.
#pragma once

#include <mutex>
#include <utility>
#include <vector>

#include "collect/place.h"
#include "console/watch/pace.h"
#include "judge/gaps.h"

namespace console {

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

}  // namespace console
