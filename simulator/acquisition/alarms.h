// Owns the alarms of the simulated plant: which of its signals (signals.h) raise or clear one, and
// at which second. Nothing is random and nothing is kept, so whoever knows the plant and a time
// knows which events there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/plant.h"

// What it is for: where the alarms of an analogue input begin.
struct AlarmLimits {
  double low = 0;   // below it the low alarm stands
  double high = 0;  // above it the high alarm stands
};

// The limits of an AI point: a tenth of its range from either end.
AlarmLimits AlarmLimitsOf(std::uint32_t dataId);

// The events of one second, in ascending order of DataId; only AI and DI points have any.
//   AI  its value has passed a limit since the second before: the limit's alarm is raised (upflag
//       1) or cleared (upflag 0), with the limit as the threshold; a jump from end to end clears
//       one alarm and then raises the other
//   DI  its value has flipped: upflag is the new state, the threshold 1
// The grade is a trait of the point, 1 to 3.
std::vector<AlarmEvent> AlarmsAt(const Plant& plant, std::int64_t unixSeconds);

// The latest `count` of the events in the `seconds` seconds that end with Unix time `until`, in the
// order of their time; all of them when there are no more.
std::vector<AlarmEvent> LatestAlarms(const Plant& plant, std::int64_t until, std::int64_t seconds,
                                     std::size_t count);
