// The process entry. It returns only when the card or the configuration is missing, so that a
// supervisor starts it again; otherwise it runs until the gateway stops it.
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "config/sysrecords.h"
#include "log/log.h"
#include "schedule/schedule.h"
#include "service/init.h"
#include "util/directory.h"
#include "util/paths.h"

namespace {

constexpr unsigned kNoCardPauseSeconds = 30;
constexpr unsigned kNoConfigurationPauseSeconds = 10;
constexpr unsigned kIdleSeconds = 600;

// The threads allocate little, so one arena does for all of them. Freed memory goes back to the
// system, but what each minute needs again stays: to get a page back takes the kernel's time.
void KeepHeapSmall() {
  constexpr int kArenas = 1;
  constexpr int kTrimBytes = 128 * 1024;
  constexpr int kMmapBytes = 256 * 1024;
  mallopt(M_ARENA_MAX, kArenas);
  mallopt(M_TRIM_THRESHOLD, kTrimBytes);
  mallopt(M_TOP_PAD, 0);
  mallopt(M_MMAP_THRESHOLD, kMmapBytes);
}

}  // namespace

int main() {
  KeepHeapSmall();
  log_init(0);
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // a supervisor sees each line when it is printed
  std::signal(SIGPIPE, SIG_IGN);                  // a broken connection must never end the process
  Interval_Info intervals{};                      // the workers hold pointers into it
  log_DB(INFO, "Brennik Start running");
  if (!util::Exists(paths::kCardDevice)) {
    log_DB(ERROR, "no sd card, please check if insert the sd card\n");
    sleep(kNoCardPauseSeconds);
    return -1;
  }
  if (Init(&intervals) == -1) {
    log_Text(ERROR, "Brennik Init failed\n");
    sleep(kNoConfigurationPauseSeconds);
    return -1;
  }
  malloc_trim(0);  // what loading the configuration has left
  GetCScheduleInstance().Init(&intervals);
  for (;;) sleep(kIdleSeconds);
}
