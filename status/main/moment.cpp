#include "main/moment.h"

#include <algorithm>

#include "util/timetext.h"

namespace status {
namespace {

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

// Takes a text of this form off the front: "0" is a digit, all else itself. False when it is not
// there; the text is then as before.
bool Take(std::string_view& text, std::string_view form, std::string_view* taken = nullptr) {
  if (text.size() < form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '0' ? !IsDigit(text[i]) : text[i] != form[i]) return false;
  }
  if (taken != nullptr) *taken = text.substr(0, form.size());
  text.remove_prefix(form.size());
  return true;
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return number;
}

// The seconds east of Greenwich: "Z" or "+01:00", at the end of the text.
std::optional<long> OffsetOf(std::string_view text) {
  if (text == "Z" || text == "z") return 0;
  std::string_view offset;
  const bool isEast = Take(text, "+00:00", &offset);
  if (!isEast && !Take(text, "-00:00", &offset)) return std::nullopt;
  const int hours = Number(offset.substr(1, 2));
  const int minutes = Number(offset.substr(4, 2));
  if (!text.empty() || hours > 23 || minutes > 59) return std::nullopt;
  return (isEast ? 1 : -1) * (hours * 3600L + minutes * 60L);
}

// Whether the date and the clock exist in the calendar.
bool Exists(const std::tm& time) {
  std::tm even = time;
  even.tm_sec = std::min(even.tm_sec, 59);  // 60 is a leap second
  const std::time_t when = timegm(&even);
  std::tm again{};
  return time.tm_sec <= 60 && gmtime_r(&when, &again) != nullptr && again.tm_mon == time.tm_mon &&
         again.tm_mday == time.tm_mday && again.tm_hour == time.tm_hour &&
         again.tm_min == time.tm_min;
}

}  // namespace

std::optional<std::time_t> MomentOf(std::string_view text) {
  std::string_view date;
  std::string_view clock;
  std::string_view seconds;
  if (!Take(text, "0000-00-00", &date)) return std::nullopt;
  const bool isRfc = Take(text, "T") || Take(text, "t");
  if ((!isRfc && !Take(text, " ")) || !Take(text, "00:00", &clock)) return std::nullopt;
  Take(text, ":00", &seconds);

  std::tm time{};
  time.tm_year = Number(date.substr(0, 4)) - 1900;
  time.tm_mon = Number(date.substr(5, 2)) - 1;
  time.tm_mday = Number(date.substr(8, 2));
  time.tm_hour = Number(clock.substr(0, 2));
  time.tm_min = Number(clock.substr(3, 2));
  time.tm_sec = seconds.empty() ? 0 : Number(seconds.substr(1));
  if (!Exists(time)) return std::nullopt;

  if (text.empty()) return isRfc ? std::nullopt : std::optional(util::UnixTime(time));
  if (Take(text, ".0"))
    text.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
  const auto offset = OffsetOf(text);
  if (seconds.empty() || !offset) return std::nullopt;
  return timegm(&time) - *offset;
}

}  // namespace status
