// The virtual clock of a real process, as the test sees it: a file that the process and the test
// map.
//
// Preloaded into the process, the clock replaces `time`, `sleep`, `usleep`, the monotonic clock and
// `poll`. Time stands still while any thread works (or waits for the network or a child); when all
// of them sleep, or wait for a mutex that a sleeping one holds, it jumps to the next waking, but
// never past the limit that the test sets. A day takes as long as its work does, and the same run
// gives the same times. While a server of the test is silent, waiting for the network is sleep, a
// second at a time, so that a transfer's time-out comes when it must.
//
// The test may set the wall clock, as an operator or a time server would: `time` then jumps, and no
// sleep gets shorter or longer by it.
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdint>

namespace test {

inline constexpr char kClockFileVariable[] = "BRENNIK_TEST_CLOCK";

struct ClockFace {
  std::atomic<std::int64_t> nowMicroseconds;  // written by the process, what sleeps are counted in
  std::atomic<std::int64_t> wallAhead;        // written by the test: `time` minus that, seconds
  std::atomic<std::int64_t> limitMicroseconds;  // written by the test
  std::atomic<std::int64_t> restedAt;           // the limit at which all threads slept beyond it
  std::atomic<std::uint32_t> threads;           // alive in the process, the main thread included
  std::atomic<std::uint32_t> changes;           // of time, limit and threads, to wait for
  std::atomic<std::uint32_t> silences;          // connections on which a server is silent
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

// Tells both sides that the face has changed.
inline void AnnounceChange(ClockFace* face) {
  ++face->changes;
  syscall(SYS_futex, &face->changes, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// Returns once the face has changed since `changes` had the value `seen`.
inline void AwaitChange(ClockFace* face, std::uint32_t seen) {
  syscall(SYS_futex, &face->changes, FUTEX_WAIT, seen, nullptr, nullptr, 0);
}

}  // namespace test
