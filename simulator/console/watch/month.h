// The month: for each interval, what has become of its file of live values.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "console/watch/account.h"
#include "judge/gaps.h"

namespace console {

// From the worst to the best. The last three say that no file is due.
enum class SlotState : std::uint8_t {
  kMissing,  // its boundary passed more than an interval ago, and there is no file; or it is lost
  kPending,
  kJudgedSent,
  kAged,
  kSentAgain,  // accepted, after more than one attempt
  kAccepted,
  kFuture,  // not due yet
  kBefore,  // before the oldest file
  kNone,    // nothing falls into this hour, or the clock skips it
};
// "missing", "pending", "judged-sent", …
const char* NameOf(SlotState state);

struct Slot {
  std::time_t time = 0;
  SlotState state = SlotState::kFuture;
  std::string name;  // of the file; empty: there is none
  long attempts = 0;
};

struct Day {
  std::time_t from = 0;          // midnight, local time
  std::vector<SlotState> hours;  // 24, each the worst of its slots
};

// The 31 days up to today. `interval` is in seconds, above 0.
std::vector<Day> MonthOf(const Account& account, long interval, std::time_t now);
// The slots from `from` on for an hour.
std::vector<Slot> HourOf(const Account& account, long interval, std::time_t from, std::time_t now);
// The files of live values by their stamps, for FindGaps.
std::vector<status::Packed> PackedOf(const Account& account);

}  // namespace console
