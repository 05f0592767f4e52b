// The alarm worker.
#include <string>
#include <utility>
#include <vector>

#include "datasource/alarmdata.h"
#include "historydata/historydata.h"
#include "log/log.h"
#include "schedule/datafiles.h"
#include "schedule/workers.h"
#include "schedule/workertime.h"
#include "service/uploaddrivers.h"
#include "util/paths.h"

namespace {

constexpr std::time_t kDaySeconds = 86400;

// The reader goes back three days, to the beginning of that day. Older events are not kept either.
void ForgetOldEvents(Alarm_Data_Struct& events, std::time_t now) {
  const auto forgotten = std::erase_if(events, [now](const Alarm_Data_Para& event) {
    return EventTime(event.time, now) < now - kAlarmReachSeconds - kDaySeconds;
  });
  if (forgotten == 0) return;
  log_Text(WARN, "%zu alarm events are given up, the card was full for days", forgotten);
}

// Packs the new events behind the `unwritten` ones, which a full card has kept out of their file,
// and records the files. The reader has marked all of them as taken, so it never gives them again.
void PackNewEvents(std::time_t stamp, Alarm_Data_Struct& unwritten) {
  ForgetOldEvents(unwritten, std::time(nullptr));
  Alarm_Data_Struct events = std::exchange(unwritten, {});
  if (GetCAlarmDataInstance().GetAlarmData(&events) != 0) {
    log_DB(ERROR, "Brennik Get AlarmData error");
    unwritten = std::move(events);
    PauseOneSecond();
    return;
  }
  if (events.empty()) {
    PauseOneSecond();
    return;
  }
  const std::string directory = DirectoryOf(paths::kAlarmData, stamp);
  std::vector<std::string> files;
  if (CreateAlarmDataFile(&events, directory.c_str(), &files, &unwritten) < 0) {
    log_DB(ERROR, "Brennik Create AlarmData File error");
    PauseOneSecond();
    return;
  }
  RecordPackedFiles(kAlarmDataFile, files);
}

}  // namespace

void* HandleRealAlarm(void* interval) {
  const auto& seconds = *static_cast<const std::int32_t*>(interval);
  Alarm_Data_Struct unwritten;
  SleepToBoundary(seconds);
  for (;;) {
    const std::time_t now = std::time(nullptr);
    PackNewEvents(now - now % seconds, unwritten);
    SleepToBoundary(seconds);
  }
}
