#include "util/timetext.h"

#include "util/text.h"

namespace util {

std::optional<std::tm> LocalTime(std::time_t when) {
  std::tm time{};
  if (localtime_r(&when, &time) == nullptr) return std::nullopt;
  return time;
}

std::string Stamp(const std::tm& time) {
  return Format("%04d%02d%02d%02d%02d%02d", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                time.tm_hour, time.tm_min, time.tm_sec);
}

std::string TimeMark(const std::tm& time) {
  return Format("%04d-%02d-%02d %02d:%02d:%02d", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                time.tm_hour, time.tm_min, time.tm_sec);
}

std::string DateText(const std::tm& time) {
  return Format("%d-%02d-%02d", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday);
}

std::string ClockText(const std::tm& time) {
  return Format("%02d:%02d:%02d", time.tm_hour, time.tm_min, time.tm_sec);
}

}  // namespace util
