// The real-data worker.
#include <unistd.h>

#include <string>
#include <vector>

#include "datasource/realdata.h"
#include "historydata/historydata.h"
#include "log/log.h"
#include "schedule/workers.h"
#include "schedule/workertime.h"
#include "service/uploaddrivers.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

constexpr unsigned kFailurePauseSeconds = 1;
constexpr std::size_t kDirectoryBytes = 256;

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

History_Data_Para LedgerRow(int day, const std::string& file) {
  History_Data_Para row{};
  row.filetype = kRealDataFile;
  row.result = 0;
  const std::string name(util::BaseName(file));
  util::PrintText(row.filename, sizeof(row.filename), "realdata/%d/%s", day, name.c_str());
  return row;
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
  char directory[kDirectoryBytes];
  util::PrintText(directory, sizeof(directory), "%s/%d", paths::kRealData, day);
  std::vector<std::string> files;
  if (CreateRealDataFile(&values, directory, &files, stamp) < 0) {
    log_DB(ERROR, "Brennik Create RealData File error");
    sleep(kFailurePauseSeconds);
    return;
  }
  // Without a file too: the ledger ages its rows at every save.
  std::vector<History_Data_Para> rows;
  rows.reserve(files.size());
  for (const auto& file : files) rows.push_back(LedgerRow(day, file));
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
