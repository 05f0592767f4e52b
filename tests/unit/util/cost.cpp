#include "cost.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace test {
namespace {

long PeakKibibytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

long Milliseconds(const timeval& time) {
  return static_cast<long>(time.tv_sec * 1000 + time.tv_usec / 1000);
}

[[noreturn]] void DoAndReport(const std::function<void()>& work, unsigned limitSeconds,
                              int report) {
  const rlimit limit{limitSeconds, limitSeconds};
  setrlimit(RLIMIT_CPU, &limit);
  const long before = PeakKibibytes();
  try {
    work();
  } catch (...) {
    _exit(EXIT_FAILURE);
  }
  const long growth = PeakKibibytes() - before;
  const bool isReported = write(report, &growth, sizeof(growth)) == sizeof(growth);
  _exit(isReported ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

Cost MeasureCost(const std::function<void()>& work, unsigned limitSeconds) {
  int report[2];
  if (pipe(report) != 0) return {};
  const pid_t child = fork();
  if (child == 0) DoAndReport(work, limitSeconds, report[1]);
  close(report[1]);

  Cost cost;
  cost.isDone = read(report[0], &cost.peakKibibytes, sizeof(long)) == sizeof(long);
  close(report[0]);
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || status != 0) cost.isDone = false;
  cost.processorMilliseconds = Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
  return cost;
}

}  // namespace test
