// What the running service takes, as the kernel counts it.
#pragma once

#include <sys/types.h>

namespace test {

struct Gauges {
  int residentKilobytes = 0;
  int privateDirtyKilobytes = 0;
  int peakKilobytes = 0;  // resident, since its start
  int threads = 0;
  int descriptors = 0;
};

Gauges ReadGauges(pid_t pid);

// Processor time of all its threads, without its child processes.
double ReadCpuMilliseconds(pid_t pid);

}  // namespace test
