// The virtual clock of the service under test, as both sides see it: a file that the service and
// the test map into their memory.
//
// The library that is preloaded into the service replaces `time`, `sleep`, `usleep`, the monotonic
// clock and `poll`. Time stands still while any thread works, waits for a child or for the network.
// When every thread sleeps, or waits for a mutex that a sleeping thread holds, time jumps to the
// next waking, but never past the limit that the test sets. So a day takes as long as its work, and
// the same run gives the same times. While a server of the test is silent, waiting for the network
// counts as sleep, a second at a time, so that time-outs come.
//
// The test may set the wall clock as an operator or a time server would: `time` then jumps, and the
// sleeps stay as long as they were.
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdint>

namespace test {

inline constexpr char kClockFileVariable[] = "BRENNIK_TEST_CLOCK";

struct ClockFace {
  std::atomic<std::int64_t> nowMicroseconds;    // of the sleeps; written by the service
  std::atomic<std::int64_t> wallAhead;          // seconds that `time` is ahead; written by the test
  std::atomic<std::int64_t> limitMicroseconds;  // written by the test
  std::atomic<std::int64_t> restedAt;   // the limit at which all threads slept; by the service
  std::atomic<std::uint32_t> threads;   // alive in the service, the main thread included
  std::atomic<std::uint32_t> changes;   // of any other field, for AwaitChange
  std::atomic<std::uint32_t> silences;  // connections on which a server is silent
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

// Wakes every waiter of AwaitChange, on both sides.
inline void AnnounceChange(ClockFace* face) {
  ++face->changes;
  syscall(SYS_futex, &face->changes, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// Returns once `changes` is no longer `seen`, or after `patience` if there is one. It may return
// earlier.
inline void AwaitChange(ClockFace* face, std::uint32_t seen,
                        std::chrono::milliseconds patience = {}) {
  // The kernel's own record: a C library with 64-bit time has another one on 32 bits.
  struct {
    long seconds;
    long nanoseconds;
  } timeout{0, static_cast<long>(std::chrono::nanoseconds(patience).count())};
  syscall(SYS_futex, &face->changes, FUTEX_WAIT, seen, patience.count() == 0 ? nullptr : &timeout,
          nullptr, 0);
}

}  // namespace test
