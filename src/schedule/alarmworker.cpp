// The alarm worker.
#include <unistd.h>

#include <string>
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

// The new events from their databases to the ledger.
void PackNewEvents(std::time_t stamp) {
  Alarm_Data_Struct events;
  if (static_cast<std::int32_t>(GetCAlarmDataInstance().GetAlarmData(&events)) < 0) {
    log_DB(ERROR, "Brennik Get AlarmData error");
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
  if (CreateAlarmDataFile(&events, directory.c_str(), &files) < 0) {
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
  for (;;) {
    const std::time_t now = std::time(nullptr);
    PackNewEvents(now - now % *seconds);
    SleepToBoundary(*seconds);
  }
}
