#include "console/watch/clockwatch.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace console {
namespace {

constexpr double kStretchSeconds = 2;     // real; both clocks are read to the second at worst
constexpr double kLeastDifference = 1.2;  // gateway seconds a second
constexpr double kSharePart = 0.1;
constexpr std::size_t kMostChanges = 200;

}  // namespace

void ClockWatch::Take(std::time_t now, Steady steady) {
  if (!m_begin) {
    m_begin = Moment{now, steady};
    m_before = now;
    return;
  }
  const double took = std::chrono::duration<double>(steady - m_begin->steady).count();
  if (took < kStretchSeconds) return;
  const double speed = static_cast<double>(now - m_begin->now) / took;
  const double before = m_speed.value_or(speed);
  if (std::abs(speed - before) > kLeastDifference + kSharePart * std::abs(before)) {
    m_changes.push_back({std::min(m_before, now), std::max(m_before, now)});
    if (m_changes.size() > kMostChanges) m_changes.pop_front();
  }
  m_speed = speed;
  m_before = std::exchange(m_begin, Moment{now, steady})->now;
}

const ClockChange* ChangeIn(const std::deque<ClockChange>& changes, std::time_t from,
                            std::time_t to) {
  const auto found = std::find_if(changes.begin(), changes.end(), [=](const ClockChange& change) {
    return change.from <= to && change.to >= from;
  });
  return found == changes.end() ? nullptr : &*found;
}

}  // namespace console
