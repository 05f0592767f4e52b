// The gateway's clock: all programs of the gateway see it, the console itself keeps the real one.
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "util/mutex.h"

namespace console {

class Child;

// Runs the gateway's clock at a speed of its own. libfaketime reads the time from a file at every
// question, so a change reaches all programs at once. All programs share one start, which a small
// program beside them holds; so a program that starts later shows the same time as the others.
// Any thread may call.
class Clock {
 public:
  static constexpr double kLeastSpeed = 1;
  static constexpr double kMostSpeed = 60;

  // The clock shows `start` now. `file` is the timestamp file, which the object makes and replaces.
  // Throws std::invalid_argument for a speed out of range, std::runtime_error when faketime is
  // missing or the file cannot be written.
  Clock(std::string file, std::time_t start, double speed);
  // The machine's own clock: the console runs on the gateway itself. Its speed is 1; a step sets
  // it, which takes root's rights.
  Clock();
  ~Clock();  // removes the file
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

  std::time_t Now() const;   // gateway time, Unix seconds
  std::time_t Real() const;  // real time, Unix seconds; no step moves it
  double Exact() const;      // the same with its fraction
  // Gateway seconds since the start. A step does not count; so a span measured by it is real.
  double Elapsed() const;
  double Speed() const;  // gateway seconds in a real second

  // The time goes on from where it is. Throws std::invalid_argument for a speed out of range, and
  // for every other than 1 on the machine's own clock; std::runtime_error when the file cannot be
  // written. The speed then stays.
  void SetSpeed(double speed);
  // Moves the clock by `seconds`, back if negative. Throws std::runtime_error as above.
  void Step(long seconds);

  // NAME=VALUE for the programs of the gateway and what they start.
  std::vector<std::string> Environment() const { return m_environment; }

 private:
  // The gateway's time is the common start + offset + real seconds since the start x speed.
  struct Setting {
    double offset = 0;  // seconds
    double speed = 1;
    double stepped = 0;  // seconds, the sum of all steps
  };
  double SinceStart() const;  // real seconds
  double Shown(const Setting& setting) const;
  void Write(const Setting& setting) const;
  void StepOwn(long seconds);

  const std::string m_file;         // empty: the machine's own clock
  std::unique_ptr<Child> m_holder;  // keeps the common start
  double m_start = 0;               // the common start, real Unix seconds
  double m_begin = 0;               // what the clock showed at first
  std::vector<std::string> m_environment{};
  mutable util::Mutex m_mutex{};  // guards the setting
  Setting m_setting{};
};

}  // namespace console
