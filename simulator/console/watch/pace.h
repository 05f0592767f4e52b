// How often something costly may be done.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace console {

// The machine's own clock, which only rises.
using SteadyNow = std::function<std::chrono::steady_clock::time_point()>;

// Lets something be done as soon as it has changed, but takes only a share of the time for it. Real
// time. One thread.
class Pace {
 public:
  using Clock = std::chrono::steady_clock;

  // It is done at most so often, and takes at most one part in `share` of the time.
  Pace(SteadyNow now, std::chrono::milliseconds least, int share)
      : m_now(std::move(now)), m_least(least), m_share(share) {}

  Clock::time_point Now() const { return m_now(); }
  bool IsDue() const { return m_now() >= m_next; }
  void Begin() { m_began = m_now(); }
  // What was begun is over.
  void End() {
    const auto now = m_now();
    m_next = now + std::max<Clock::duration>(m_least, (now - m_began) * m_share);
  }
  // Not before so long from now.
  void Wait(std::chrono::milliseconds time) { m_next = std::max(m_next, m_now() + time); }

 private:
  SteadyNow m_now;
  std::chrono::milliseconds m_least;
  int m_share;
  Clock::time_point m_began{};
  Clock::time_point m_next{};
};

}  // namespace console
