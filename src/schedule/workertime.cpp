#include "schedule/workertime.h"

#include <unistd.h>

#include "util/timetext.h"

void SleepToBoundary(std::int32_t intervalSeconds) {
  const std::time_t now = std::time(nullptr);
  sleep(static_cast<unsigned>(intervalSeconds - now % intervalSeconds));
}

int DayOfMonth(std::time_t when) {
  return util::LocalTime(when).value_or(std::tm{}).tm_mday;
}
