// The real-data worker.
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

// Packs one snapshot of the segment and records its file.
void PackLiveValues(std::time_t stamp) {
  Real_Data_Struct values;
  if (GetCRealDataInstance().GetRealData(&values) < 0) {
    log_DB(ERROR, "Brennik Get RealData error");
    PauseOneSecond();
    return;
  }
  const std::string directory = DirectoryOf(paths::kRealData, stamp);
  std::vector<std::string> files;
  if (CreateRealDataFile(&values, directory.c_str(), &files, stamp) < 0) {
    log_DB(ERROR, "Brennik Create RealData File error");
    PauseOneSecond();
    return;
  }
  RecordPackedFiles(kRealDataFile, files);  // also without a file: a save drops old rows
}

}  // namespace

void* HandleRealData(void* interval) {
  const auto& seconds = *static_cast<const std::int32_t*>(interval);
  for (;;) {
    PackLiveValues(AwaitNearestBoundary(seconds));
    SleepToBoundary(seconds);
  }
}
