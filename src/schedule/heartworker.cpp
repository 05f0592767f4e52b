// The heartbeat worker.
#include <cstdint>

#include "schedule/workers.h"
#include "schedule/workertime.h"
#include "service/cloudlink.h"

void* HandleHeart(void* interval) {
  const auto& seconds = *static_cast<const std::int32_t*>(interval);
  for (;;) {
    SleepToBoundary(seconds);
    if (SyncHeartBeat() < 0) PauseOneSecond();
  }
}
