// The clock that nobody sets, and waiting for output. The linker puts these into the place of the C
// library's calls.
#include <poll.h>

#include <algorithm>
#include <ctime>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {

// Without a clock that is set, the tests' clock counts the pauses.
#if defined(__USE_TIME_BITS64) && __SIZEOF_POINTER__ == 4
int __real___clock_gettime64(clockid_t clock, timespec* now);
int __wrap___clock_gettime64(clockid_t clock, timespec* now) {
  if (clock != CLOCK_MONOTONIC) return __real___clock_gettime64(clock, now);
#else
int __real_clock_gettime(clockid_t clock, timespec* now);
int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  if (clock != CLOCK_MONOTONIC) return __real_clock_gettime(clock, now);
#endif
  *now = {.tv_sec = std::time(nullptr), .tv_nsec = 0};
  return 0;
}

// A program that follows a log looks a hundred times a second.
int __real_poll(pollfd* files, nfds_t count, int milliseconds);
int __wrap_poll(pollfd* files, nfds_t count, int milliseconds) {
  constexpr int kMostMilliseconds = 10;
  return __real_poll(files, count, std::min(milliseconds, kMostMilliseconds));
}

}  // extern "C"
// NOLINTEND(*-reserved-identifier,cert-dcl*)
