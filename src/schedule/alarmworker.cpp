// The alarm worker.
#include <unistd.h>

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

constexpr unsigned kIdlePauseSeconds = 1;  // after a failure, and after a cycle without events

constexpr std::time_t kDaySeconds = 86400;

// A reading goes back three days, to the beginning of that day; no older events are kept either.
void ForgetOldEvents(Alarm_Data_Struct& events, std::time_t now) {
  const auto forgotten = std::erase_if(events, [now](const Alarm_Data_Para& event) {
    return EventTime(event.time, now) < now - kAlarmReachSeconds - kDaySeconds;
  });
  if (forgotten == 0) return;
  log_Text(WARN, "%zu alarm events are given up, the card was full for days", forgotten);
}

// The new events from their databases to the ledger, behind those that a full card has kept out of
// their file. Nobody else hands these out again: they are marked as taken.
void PackNewEvents(std::time_t stamp, Alarm_Data_Struct& unwritten) {
  ForgetOldEvents(unwritten, std::time(nullptr));
  Alarm_Data_Struct events = std::exchange(unwritten, {});
  if (static_cast<std::int32_t>(GetCAlarmDataInstance().GetAlarmData(&events)) < 0) {
    log_DB(ERROR, "Brennik Get AlarmData error");
    unwritten = std::move(events);
    sleep(kIdlePauseSeconds);
    return;
  }
  if (events.empty()) {
    sleep(kIdlePauseSeconds);
    return;
  }
  const int day = DayOfMonth(stamp);
  const std::string directory = DayDirectory(paths::kAlarmData, day);
  std::vector<std::string> files;
  if (CreateAlarmDataFile(&events, directory.c_str(), &files, &unwritten) < 0) {
    log_DB(ERROR, "Brennik Create AlarmData File error");
    sleep(kIdlePauseSeconds);
    return;
  }
  const auto rows = PendingRows(kAlarmDataFile, "alarmdata", day, files);
  GetCHistoryDataInstance().SaveHistoryData(&rows);
}

}  // namespace

void* HandleRealAlarm(void* interval) {
  const auto* seconds = static_cast<const std::int32_t*>(interval);
  SleepToBoundary(*seconds);
  Alarm_Data_Struct unwritten;
  for (;;) {
    const std::time_t now = std::time(nullptr);
    PackNewEvents(now - now % *seconds, unwritten);
    SleepToBoundary(*seconds);
  }
}
