// The process entry. It returns only when the card or the configuration is missing, so that a
// supervisor starts it again; otherwise it runs until the gateway stops it.
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

}  // namespace

int main() {
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
  GetCScheduleInstance().Init(&intervals);
  for (;;) sleep(kIdleSeconds);
}
