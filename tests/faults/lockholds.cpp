// Preloaded into brennik-status: counts how often, and how long, it holds a lock on a database.
//
// SQLite reads a database under a shared lock on a range of bytes that has a fixed place.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <ctime>

#include "faults/lockstatistics.h"

namespace {

constexpr off_t kSharedBytes = 0x40000002;

// Of the real clocks: a library that fakes the time may be loaded too.
std::uint64_t Microseconds(clockid_t clock) {
  timespec now{};
  syscall(SYS_clock_gettime, clock, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000U +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000U;
}

void Note(const struct flock& lock) {
  static auto* const holds =
      test::MapStatistics<test::LockHolds>(std::getenv(test::kLockHoldsVariable));
  static std::uint64_t begun = 0;
  static std::uint64_t begunProcessor = 0;
  if (holds == nullptr) return;
  if (lock.l_type == F_RDLCK && lock.l_start == kSharedBytes) {
    begun = Microseconds(CLOCK_MONOTONIC);
    begunProcessor = Microseconds(CLOCK_THREAD_CPUTIME_ID);
  } else if (lock.l_type == F_UNLCK && begun != 0 && lock.l_len == 0) {
    holds->real.Add(Microseconds(CLOCK_MONOTONIC) - begun);
    holds->processor.Add(Microseconds(CLOCK_THREAD_CPUTIME_ID) - begunProcessor);
    begun = 0;
  }
}

}  // namespace

extern "C" int fcntl64(int file, int command, ...) {
  static auto* const real = reinterpret_cast<int (*)(int, int, void*)>(dlsym(RTLD_NEXT, "fcntl64"));
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const int result = real(file, command, argument);
  if (command == F_SETLK && result == 0) Note(*static_cast<struct flock*>(argument));
  return result;
}
