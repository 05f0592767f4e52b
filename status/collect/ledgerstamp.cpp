#include "collect/ledgerstamp.h"

#include <algorithm>

#include "collect/ledger.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr std::string_view kSuffix = ".tar.gz";
constexpr std::size_t kStampDigits = 14;
constexpr std::size_t kHourDigits = 10;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The digits of the stamp, or an empty text.
std::string_view DigitsOf(std::string_view name) {
  if (name.size() < kStampDigits + kSuffix.size() || !name.ends_with(kSuffix)) return {};
  name.remove_suffix(kSuffix.size());
  const std::string_view digits = name.substr(name.size() - kStampDigits);
  return std::all_of(digits.begin(), digits.end(), IsDigit) ? digits : std::string_view();
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return number;
}

bool AreSame(const std::tm& one, const std::tm& other) {
  return one.tm_year == other.tm_year && one.tm_mon == other.tm_mon &&
         one.tm_mday == other.tm_mday && one.tm_hour == other.tm_hour &&
         one.tm_min == other.tm_min && one.tm_sec == other.tm_sec;
}

// None for a time that no clock of this zone shows.
std::optional<std::time_t> LocalTimeOf(std::string_view digits) {
  std::tm time{};
  time.tm_year = Number(digits.substr(0, 4)) - 1900;
  time.tm_mon = Number(digits.substr(4, 2)) - 1;
  time.tm_mday = Number(digits.substr(6, 2));
  time.tm_hour = Number(digits.substr(8, 2));
  time.tm_min = Number(digits.substr(10, 2));
  time.tm_sec = Number(digits.substr(12, 2));
  const std::time_t when = util::UnixTime(time);
  const auto shown = util::LocalTime(when);
  if (!shown || !AreSame(*shown, time)) return std::nullopt;
  return when;
}

}  // namespace

void StampReader::TakeHour(std::string_view hour) {
  m_hour = hour;
  m_begins = LocalTimeOf(m_hour + "0000");
  if (!LocalTimeOf(m_hour + "5959")) m_begins.reset();
}

std::optional<std::time_t> StampReader::Of(std::string_view name) {
  const std::string_view digits = DigitsOf(name);
  if (digits.empty()) return std::nullopt;
  const std::string_view hour = digits.substr(0, kHourDigits);
  if (m_hour != hour) TakeHour(hour);
  if (!m_begins) return LocalTimeOf(digits);
  const int minute = Number(digits.substr(kHourDigits, 2));
  const int second = Number(digits.substr(kHourDigits + 2));
  if (minute > 59 || second > 59) return std::nullopt;
  return *m_begins + minute * 60L + second;
}

std::optional<std::time_t> StampOf(const std::string& name) {
  return StampReader().Of(name);
}

}  // namespace status
