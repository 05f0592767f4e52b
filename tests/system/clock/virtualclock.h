// The virtual clock of a real process, as the test sees it: a file that the process and the test
// map.
//
// Preloaded into the process, the clock replaces `time`, `sleep` and `usleep`. Time stands still
// while any thread works (or waits for the network, a child or a lock); when all of them sleep it
// jumps to the next waking, but never past the limit that the test sets. A day takes as long as its
// work does, and the same run gives the same times.
#pragma once

#include <atomic>
#include <cstdint>

namespace test {

inline constexpr char kClockFileVariable[] = "BRENNIK_TEST_CLOCK";

struct ClockFace {
  std::atomic<std::int64_t> nowMicroseconds;    // written by the process, since the epoch
  std::atomic<std::int64_t> limitMicroseconds;  // written by the test
  std::atomic<std::int64_t> restedAt;           // the limit at which all threads slept beyond it
  std::atomic<std::uint32_t> threads;           // alive in the process, the main thread included
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

}  // namespace test
