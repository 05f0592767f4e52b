#include "faults/gauges.h"

#include <ctime>
#include <fstream>
#include <string>

#include "support/files.h"

namespace test {
namespace {

// The number after a key such as "VmHWM:".
int Number(const std::string& path, const std::string& key) {
  std::ifstream lines(path);
  for (std::string word; lines >> word;) {
    int number = 0;
    if (word == key && lines >> number) return number;
  }
  return 0;
}

}  // namespace

Gauges ReadGauges(pid_t pid) {
  const std::string process = "/proc/" + std::to_string(pid);
  return {.residentKilobytes = Number(process + "/smaps_rollup", "Rss:"),
          .privateDirtyKilobytes = Number(process + "/smaps_rollup", "Private_Dirty:"),
          .peakKilobytes = Number(process + "/status", "VmHWM:"),
          .threads = Number(process + "/status", "Threads:"),
          .descriptors = static_cast<int>(List(process + "/fd").size())};
}

double ReadCpuMilliseconds(pid_t pid) {
  clockid_t clock{};
  std::timespec time{};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

}  // namespace test
