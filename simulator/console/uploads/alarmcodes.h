// The codes of alarm events, and what they mean.
#pragma once

#include <cstdint>

namespace console {

struct AlarmMeaning {
  const char* code = "";     // five digits; empty: the event has none
  const char* meaning = "";  // a few words for people
  bool raised = false;       // false: the alarm is over, or the input is off
};

// The code that an event of the acquisition side gets (docs/interfaces.md). Written again here, so
// that a mistake of the service shows.
AlarmMeaning MeaningOf(std::uint32_t dataId, std::int64_t eventType, bool upFlag);

}  // namespace console
