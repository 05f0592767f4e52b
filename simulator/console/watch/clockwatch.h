// When the gateway's clock was set, or ran at another speed.
#pragma once

#include <chrono>
#include <ctime>
#include <deque>
#include <optional>

namespace console {

// The clock was set, or got another speed, somewhere between the two, gateway time.
struct ClockChange {
  std::time_t from = 0;
  std::time_t to = 0;
};

// Compares the gateway's clock with the machine's steady one. It finds a step of some seconds and
// another speed; a change of less than one second a second is not found. The service sleeps in real
// time: while it sleeps, a clock that goes faster passes boundaries. One thread.
class ClockWatch {
 public:
  using Steady = std::chrono::steady_clock::time_point;

  // Takes a pair of times; to be called about twice a second.
  void Take(std::time_t now, Steady steady);
  // The latest changes, the oldest first.
  const std::deque<ClockChange>& Changes() const { return m_changes; }

 private:
  struct Moment {
    std::time_t now = 0;
    Steady steady{};
  };

  std::optional<Moment> m_begin;  // of the stretch that is being measured
  std::time_t m_before = 0;       // begin of the stretch before it
  std::optional<double> m_speed;  // of the stretch before it
  std::deque<ClockChange> m_changes;
};

// The change that may have made the files from `from` to `to` miss; null: none.
const ClockChange* ChangeIn(const std::deque<ClockChange>& changes, std::time_t from,
                            std::time_t to);

}  // namespace console
