#include "schedule/workertime.h"

#include <unistd.h>

namespace {

// 1 to a whole interval.
std::time_t SecondsToBoundary(std::time_t now, std::int32_t intervalSeconds) {
  return intervalSeconds - now % intervalSeconds;
}

}  // namespace

void SleepToBoundary(std::int32_t intervalSeconds) {
  sleep(static_cast<unsigned>(SecondsToBoundary(std::time(nullptr), intervalSeconds)));
}

std::time_t AwaitNearestBoundary(std::int32_t intervalSeconds) {
  const std::time_t now = std::time(nullptr);
  const std::time_t wait = SecondsToBoundary(now, intervalSeconds);
  const std::time_t next = now + wait;
  if (static_cast<double>(wait) > intervalSeconds * 0.5) return next - intervalSeconds;
  sleep(static_cast<unsigned>(wait));
  return next;
}

void PauseOneSecond() {
  sleep(1);
}
