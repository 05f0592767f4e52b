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
constexpr unsigned kNoRowsPauseSeconds = 1;
constexpr unsigned kAcceptedPauseSeconds = 3;
constexpr unsigned kFailedPauseSeconds = 5;

int UploadRow(const History_Data_Para& row) {
  char path[util::kPathBytes];
  util::PrintText(path, sizeof(path), "%s/%s", paths::kDataFiles, row.filename);
  return row.filetype == kRealDataFile ? UploadRealDataFile(path) : UploadAlarmDataFile(path);
}

// Sends the pending files, newest first. The first failure ends the walk; the rest stays pending.
void UploadPendingFiles() {
  std::vector<History_Data_Para> rows;
  if (GetCHistoryDataInstance().GetHistoryData(&rows) < 0) {
    sleep(kNoRowsPauseSeconds);
    return;
  }
  for (const auto& row : rows) {
    if (UploadRow(row) < 0) {
      sleep(kFailedPauseSeconds);
      return;
    }
    GetCHistoryDataInstance().UpdateHistoryData(row.filename);
    sleep(kAcceptedPauseSeconds);
  }
}

}  // namespace

void* HandleFail(void* interval) {
  const auto* seconds = static_cast<const std::int32_t*>(interval);
  while (PrePost() == -1) sleep(kLoginPauseSeconds);
  SleepToBoundary(*seconds);
  for (;;) {
    UploadPendingFiles();
    SleepToBoundary(*seconds);
  }
}
