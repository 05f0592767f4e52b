// The demand-history reader. It shares nothing with the ledger, and takes no lock.
#include "historydata/demandhistory.h"

#include <algorithm>
#include <string>

#include "datasource/realdata.h"
#include "historydata/historydata.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace {

constexpr char kSelectMinutes[] =
    "select UnixTime,TriggerValue,Upload from history_%04x_tbl where dataid='%d' and "
    "UnixTime<='%d' and UnixTIme >='%d' order by UnixTime";

constexpr std::uint32_t kMinuteSeconds = 60;
constexpr std::int32_t kHandedOut = 1;       // the only `Upload` whose values count
constexpr int kLockWaitMilliseconds = 2000;  // the acquisition side writes while we read

std::string MinutesQuery(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point) {
  return util::Format(kSelectMinutes, dataId >> 16, static_cast<std::int32_t>(dataId),
                      static_cast<std::int32_t>(point.endTime),
                      static_cast<std::int32_t>(point.beginTime));
}

// The minute before the first that is wanted, or that of the device's last live value if later.
std::uint32_t MinuteBefore(std::uint16_t device, std::uint32_t beginTime) {
  const std::uint32_t lastValue = GetCRealDataInstance().GetOldTime(device);
  return std::max(beginTime - kMinuteSeconds, lastValue / kMinuteSeconds * kMinuteSeconds);
}

}  // namespace

std::int32_t CHistoryData::GetRecallFlag(std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point,
                                         std::vector<ST_SINGLE_POINT_VALUE>* values) {
  if (!util::Exists(paths::kDemandHistory)) return 0;
  util::Database database(paths::kDemandHistory);
  if (!database) return -1;
  database
      .KeepCacheSmall();  // where there is no index, SQLite also sorts within that; no lock waits
  database.WaitForLocks(kLockWaitMilliseconds);
  util::Statement minutes = database.Prepare(MinutesQuery(dataId, *point));
  if (!minutes) return -1;

  std::uint32_t reached = MinuteBefore(static_cast<std::uint16_t>(dataId >> 16), point->beginTime);
  while (minutes.NextRow()) {
    const auto minute = static_cast<std::uint32_t>(minutes.Integer(0));
    // Unsigned: a row before what is reached lies far ahead, and ends the series like a gap.
    const std::uint32_t step = minute - reached;
    if (step > kMinuteSeconds) return 0;
    if (step < kMinuteSeconds) continue;  // a duplicate, or off the minute
    if (minutes.Integer(2) == kHandedOut) {
      values->push_back({.UnixTime = minute, .TriggerValue = minutes.Real(1)});
      if (values->size() > kMostRecalledValues) return 0;
    }
    reached = minute;
  }
  if (minutes.Failed()) return -1;
  return reached == point->endTime ? 1 : 0;
}
