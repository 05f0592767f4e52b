// Runs the benchmarks in a process that is set up as the service is.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>

#include "log/log.h"

namespace {

// As in src/main/main.cpp.
void SetUpHeap() {
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_TRIM_THRESHOLD, 128 * 1024);
  mallopt(M_TOP_PAD, 0);
  mallopt(M_MMAP_THRESHOLD, 256 * 1024);
}

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("BRENNIK_SANDBOX") == nullptr) {
    std::fputs("brennik_bench: run me through scripts/bench or scripts/sandbox\n", stderr);
    return 2;
  }
  SetUpHeap();
  log_init(0);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
