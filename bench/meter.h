// What every benchmark reports besides its time. Under callgrind it also dumps the instructions of
// all runs together, for bench/instructions.
#pragma once

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "allocations.h"

// Lives for the time of one benchmark. It names the size and counts items and allocations.
class Meter {
 public:
  // `size` is for people; `items` is what one run handles, for the growth with size.
  Meter(benchmark::State& state, const std::string& size, std::int64_t items)
      : m_state(state), m_items(items), m_before(Allocations()) {
    state.SetLabel(size);
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
  }
  ~Meter() {
    CALLGRIND_TOGGLE_COLLECT;
    if (m_state.threads() == 1) CALLGRIND_DUMP_STATS;
    CALLGRIND_STOP_INSTRUMENTATION;
    const auto allocations = static_cast<double>(Allocations() - m_before - m_paused);
    m_state.counters["items"] =
        benchmark::Counter(static_cast<double>(m_items), benchmark::Counter::kAvgThreads);
    m_state.counters["allocations"] =
        benchmark::Counter(allocations, benchmark::Counter::kAvgIterations);
  }
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;

  // Does work between two runs, which counts for nothing.
  template <typename Work>
  void Between(const Work& work) {
    m_state.PauseTiming();
    CALLGRIND_TOGGLE_COLLECT;
    const std::size_t before = Allocations();
    work();
    m_paused += Allocations() - before;
    CALLGRIND_TOGGLE_COLLECT;
    m_state.ResumeTiming();
  }

 private:
  benchmark::State& m_state;
  std::int64_t m_items;
  std::size_t m_before;
  std::size_t m_paused = 0;
};
