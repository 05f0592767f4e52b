#include "support/clock.h"

#include <unistd.h>

#include <mutex>
#include <utility>

#include "support/threads.h"

namespace test {
namespace {

struct ClockState {
  std::mutex mutex;
  std::chrono::microseconds now{};  // since the epoch
  std::vector<Pause> pauses;
  std::function<void(Pause)> hook;
};

ClockState& State() {
  static auto* state = new ClockState;  // never destroyed: parked threads use it at exit
  return *state;
}

bool IsTestThread() {
  return getpid() == gettid();
}

void TakePause(Pause pause) {
  if (!IsTestThread()) {
    ParkThisThread();
    return;
  }
  std::function<void(Pause)> hook;
  {
    const std::lock_guard lock(State().mutex);
    State().now += pause;
    State().pauses.push_back(pause);
    hook = State().hook;
  }
  if (hook) hook(pause);
}

}  // namespace

void SetTime(std::time_t now) {
  const std::lock_guard lock(State().mutex);
  State().now = std::chrono::seconds(now);
}

std::time_t LocalTimeOf(int year, int month, int day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  time.tm_isdst = -1;
  return std::mktime(&time);
}

std::vector<Pause> Pauses() {
  const std::lock_guard lock(State().mutex);
  return State().pauses;
}

void ForgetPauses() {
  const std::lock_guard lock(State().mutex);
  State().pauses.clear();
}

void OnPause(std::function<void(Pause)> hook) {
  const std::lock_guard lock(State().mutex);
  State().hook = std::move(hook);
}

}  // namespace test

extern "C" {

std::time_t __wrap_time(std::time_t* out) {
  const std::lock_guard lock(test::State().mutex);
  const auto now = std::chrono::floor<std::chrono::seconds>(test::State().now).count();
  if (out != nullptr) *out = now;
  return now;
}

unsigned __wrap_sleep(unsigned seconds) {
  test::TakePause(std::chrono::seconds(seconds));
  return 0;
}

int __wrap_usleep(useconds_t microseconds) {
  test::TakePause(std::chrono::microseconds(microseconds));
  return 0;
}

}  // extern "C"
