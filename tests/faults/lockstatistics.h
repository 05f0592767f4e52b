// What locks on databases cost, counted in a file that several processes map.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace test {

// Names of environment variables: the file for the service's waits and the one for the holds of
// brennik-status.
inline constexpr char kLockWaitsVariable[] = "BRENNIK_COUNT_LOCK_WAITS";
inline constexpr char kLockHoldsVariable[] = "BRENNIK_COUNT_LOCK_HOLDS";

struct LockStatistics {
  std::atomic<std::uint64_t> times;
  std::atomic<std::uint64_t> microseconds;  // all together
  std::atomic<std::uint64_t> longestMicroseconds;

  void Add(std::uint64_t taken) {
    ++times;
    microseconds += taken;
    for (auto longest = longestMicroseconds.load();
         taken > longest && !longestMicroseconds.compare_exchange_weak(longest, taken);) {
    }
  }
};

// How long locks were held.
struct LockHolds {
  LockStatistics real;
  LockStatistics processor;  // without the time in which other programs had the processor
};

// Maps an existing file of that size. Null when there is none.
template <typename Statistics>
Statistics* MapStatistics(const char* path) {
  const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) return nullptr;
  void* memory = mmap(nullptr, sizeof(Statistics), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<Statistics*>(memory);
}

}  // namespace test
