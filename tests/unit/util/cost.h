// What a piece of work costs in time and memory, measured in a process of its own.
#pragma once

#include <functional>

namespace test {

// A sanitizer's own share: its shadow memory and red zones make this many bytes of one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr long kInstrumentation = 8;
#else
inline constexpr long kInstrumentation = 1;
#endif

struct Cost {
  bool isDone = false;           // false: it crashed, threw or ran into the limit of processor time
  long processorMilliseconds{};  // user and system time
  long peakKibibytes{};          // resident memory at its peak, above what it was at the start
};

// Does the work in a forked process, ended after `limitSeconds` of processor time.
Cost MeasureCost(const std::function<void()>& work, unsigned limitSeconds);

}  // namespace test
