#include "collect/times.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "util/text.h"
#include "util/timetext.h"

namespace status {

std::string Duration(long seconds) {
  constexpr long kMinute = 60;
  constexpr long kHour = 60 * kMinute;
  constexpr long kDay = 24 * kHour;
  if (seconds < 0) return "-" + Duration(-std::max(seconds, -std::numeric_limits<long>::max()));
  if (seconds < kMinute) return util::Format("%ld s", seconds);
  if (seconds < kHour) return util::Format("%ld min", seconds / kMinute);
  if (seconds >= 2 * kDay) return util::Format("%ld days", seconds / kDay);
  const long minutes = seconds % kHour / kMinute;
  const std::string hours = util::Format("%ld h", seconds / kHour);
  return minutes == 0 ? hours : hours + util::Format(" %ld min", minutes);
}

std::string LocalText(std::time_t when) {
  const auto local = util::LocalTime(when);
  return local ? util::TimeMark(*local) : util::Format("@%lld", static_cast<long long>(when));
}

std::string Rfc3339(std::time_t when) {
  const auto local = util::LocalTime(when);
  if (!local || local->tm_year < -1900 || local->tm_year > 8099) return {};
  const long minutes = local->tm_gmtoff / 60;
  const long size = std::labs(minutes);
  std::string text = util::TimeMark(*local);
  text[text.find(' ')] = 'T';
  return text + util::Format("%c%02ld:%02ld", minutes < 0 ? '-' : '+', size / 60, size % 60);
}

}  // namespace status
