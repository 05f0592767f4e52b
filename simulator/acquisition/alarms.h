// Owns the alarms of the simulated plant: which signals (signals.h) raise or clear one, and when.
// Nothing is random and nothing is kept: the plant and a time tell which events there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/plant.h"

// Where the alarms of an analogue input begin.
struct AlarmLimits {
  double low = 0;   // below it, the low alarm is raised
  double high = 0;  // above it, the high alarm is raised
};

// The limits of an AI point: a tenth of its range away from either end.
AlarmLimits AlarmLimitsOf(std::uint32_t dataId);

// The events of one second, in ascending order of DataId; only AI and DI points have any.
//   AI  its value has passed a limit since the second before. The limit's alarm is raised (upflag
//   1)
//       or cleared (upflag 0); the threshold is the limit. A jump from one end of the range to the
//       other clears one alarm and then raises the other.
//   DI  its value has flipped. The upflag is the new state, the threshold is 1.
// Each point always has the same grade, 1 to 3.
std::vector<AlarmEvent> AlarmsAt(const Plant& plant, std::int64_t unixSeconds);

// The latest `count` events of the `seconds` seconds that end with Unix time `until`, in the order
// of their time. Fewer when there are no more.
std::vector<AlarmEvent> LatestAlarms(const Plant& plant, std::int64_t until, std::int64_t seconds,
                                     std::size_t count);
