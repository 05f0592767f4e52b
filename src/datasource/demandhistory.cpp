#include "datasource/demandhistory.h"

#include <algorithm>
#include <string>

#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace {

constexpr char kSelectMinutes[] =
    "select UnixTime,TriggerValue,Upload from history_%04x_tbl where dataid='%d' and "
    "UnixTime<='%d' and UnixTIme >='%d' order by UnixTime";

constexpr std::uint32_t kMinuteSeconds = 60;
constexpr std::int32_t kReleased = 1;

std::string MinutesQuery(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point) {
  return util::Format(kSelectMinutes, dataId >> 16, static_cast<std::int32_t>(dataId),
                      static_cast<std::int32_t>(point.endTime),
                      static_cast<std::int32_t>(point.beginTime));
}

// Reads the rows in rising time; `reached` is the minute before the first that is wanted.
MinuteSeries WalkMinutes(util::Statement& minutes, std::uint32_t reached, std::uint32_t endTime,
                         std::vector<ST_SINGLE_POINT_VALUE>& values) {
  while (minutes.NextRow()) {
    const auto minute = static_cast<std::uint32_t>(minutes.Integer(0));
    // Unsigned: a row before the minute reached counts as far ahead, and ends the series like a
    // gap.
    const std::uint32_t step = minute - reached;
    if (step > kMinuteSeconds) return MinuteSeries::kIncomplete;
    if (step < kMinuteSeconds) continue;  // a duplicate, or off the minute
    if (minutes.Integer(2) == kReleased) {
      values.push_back({.UnixTime = minute, .TriggerValue = minutes.Real(1)});
      if (values.size() > kMostRecalledValues) return MinuteSeries::kIncomplete;
    }
    reached = minute;
  }
  if (minutes.Failed()) return MinuteSeries::kUnreadable;
  return reached == endTime ? MinuteSeries::kComplete : MinuteSeries::kIncomplete;
}

}  // namespace

MinuteSeries ReadMinutes(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point,
                         std::uint32_t lastLiveTime, std::vector<ST_SINGLE_POINT_VALUE>& values) {
  if (!util::Exists(paths::kDemandHistory)) return MinuteSeries::kIncomplete;
  util::Database database(paths::kDemandHistory);
  if (!database) return MinuteSeries::kUnreadable;
  // A favour that waits for no lock. Without an index, SQLite also sorts within this cache.
  database.KeepCacheSmall();
  database.WaitForLocks(util::kLockWaitMilliseconds);
  util::Statement minutes = database.Prepare(MinutesQuery(dataId, point));
  if (!minutes) return MinuteSeries::kUnreadable;

  const std::uint32_t lastLiveMinute = lastLiveTime / kMinuteSeconds * kMinuteSeconds;
  const std::uint32_t reached = std::max(point.beginTime - kMinuteSeconds, lastLiveMinute);
  return WalkMinutes(minutes, reached, point.endTime, values);
}
