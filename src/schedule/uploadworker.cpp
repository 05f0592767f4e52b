// The upload and retry worker.
#include <unistd.h>

#include <vector>

#include "historydata/historydata.h"
#include "schedule/workers.h"
#include "schedule/workertime.h"
#include "service/cloudlink.h"
#include "service/uploaddrivers.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

constexpr unsigned kLoginPauseSeconds = 60;
constexpr unsigned kAcceptedPauseSeconds = 3;
constexpr unsigned kFailedPauseSeconds = 5;

// Sends the row's file. True when the cloud has accepted it.
bool UploadRow(const History_Data_Para& row) {
  char path[util::kPathBytes];
  util::PrintText(path, sizeof(path), "%s/%s", paths::kDataFiles, row.filename);
  const int result =
      row.filetype == kRealDataFile ? UploadRealDataFile(path) : UploadAlarmDataFile(path);
  return result >= 0;
}

// Sends the pending files, newest first. The first failure ends the walk; the rest stays pending.
void UploadPendingFiles() {
  std::vector<History_Data_Para> rows;
  if (GetCHistoryDataInstance().GetHistoryData(&rows) < 0) {
    PauseOneSecond();
    return;
  }
  for (const auto& row : rows) {
    if (!UploadRow(row)) {
      sleep(kFailedPauseSeconds);
      return;
    }
    GetCHistoryDataInstance().UpdateHistoryData(row.filename);
    sleep(kAcceptedPauseSeconds);
  }
}

}  // namespace

void* HandleFail(void* interval) {
  const auto& seconds = *static_cast<const std::int32_t*>(interval);
  while (PrePost() == -1) sleep(kLoginPauseSeconds);
  SleepToBoundary(seconds);
  for (;;) {
    UploadPendingFiles();
    SleepToBoundary(seconds);
  }
}
