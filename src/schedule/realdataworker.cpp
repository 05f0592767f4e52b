// The real-data worker.
#include <unistd.h>

#include <string>
#include <vector>

#include "datasource/realdata.h"
#include "historydata/historydata.h"
#include "log/log.h"
#include "schedule/datafiles.h"
#include "schedule/workers.h"
#include "schedule/workertime.h"
#include "service/uploaddrivers.h"
#include "util/paths.h"

namespace {

constexpr unsigned kFailurePauseSeconds = 1;

// The boundary nearest to now, which stamps the cycle. One ahead is waited for; one behind is taken
// at once. An exact half goes to the one ahead.
std::time_t NearestBoundary(std::int32_t interval) {
  const std::time_t now = std::time(nullptr);
  const std::time_t past = now % interval;
  if (past == 0) return now;
  const std::time_t wait = interval - past;
  if (static_cast<double>(wait) > interval * 0.5) return now - past;
  sleep(static_cast<unsigned>(wait));
  return now + wait;
}

// One snapshot from the segment to the ledger.
void PackLiveValues(std::time_t stamp) {
  Real_Data_Struct values;
  if (GetCRealDataInstance().GetRealData(&values) < 0) {
    log_DB(ERROR, "Brennik Get RealData error");
    sleep(kFailurePauseSeconds);
    return;
  }
  const int day = DayOfMonth(stamp);
  const std::string directory = DayDirectory(paths::kRealData, day);
  std::vector<std::string> files;
  if (CreateRealDataFile(&values, directory.c_str(), &files, stamp) < 0) {
    log_DB(ERROR, "Brennik Create RealData File error");
    sleep(kFailurePauseSeconds);
    return;
  }
  // Without a file too: the ledger ages its rows at every save.
  const auto rows = PendingRows(kRealDataFile, "realdata", day, files);
  GetCHistoryDataInstance().SaveHistoryData(&rows);
}

}  // namespace

void* HandleRealData(void* interval) {
  const auto* seconds = static_cast<const std::int32_t*>(interval);
  for (;;) {
    PackLiveValues(NearestBoundary(*seconds));
    SleepToBoundary(*seconds);
  }
}
