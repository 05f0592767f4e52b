#include "collect/ledgerstamp.h"

#include <algorithm>
#include <cstring>

#include "collect/ledger.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr std::string_view kSuffix = ".tar.gz";
constexpr std::size_t kStampDigits = 14;
constexpr std::size_t kDayDigits = sizeof(std::uint64_t);
constexpr std::time_t kDaySeconds = 86'400;

// Bytes as a number, to compare them without a call.
template <typename Number>
Number Bytes(const char* text) {
  Number number = 0;
  std::memcpy(&number, text, sizeof(number));
  return number;
}

bool AreEqual(const char* four, const char* other) {
  return Bytes<std::uint32_t>(four) == Bytes<std::uint32_t>(other);
}

// What stands in the place of the stamp, or an empty text.
std::string_view DigitsOf(std::string_view name) {
  if (name.size() < kStampDigits + kSuffix.size()) return {};
  const char* const end = name.data() + name.size() - kSuffix.size();
  if (!AreEqual(end, kSuffix.data()) || !AreEqual(end + 3, kSuffix.data() + 3)) return {};
  return {end - kStampDigits, kStampDigits};
}

bool AreDigits(std::string_view digits) {
  return std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Two digits; 100 or more when they are none.
unsigned Pair(const char* digits) {
  const auto tens = static_cast<unsigned char>(digits[0] - '0');
  const auto ones = static_cast<unsigned char>(digits[1] - '0');
  return tens > 9 || ones > 9 ? 100 : tens * 10U + ones;
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

// On other days the clocks change.
void StampReader::TakeDay(std::string_view day) {
  m_begins = LocalTimeOf(std::string(day) + "000000");
  const auto ends = LocalTimeOf(std::string(day) + "235959");
  if (!m_begins || !ends || *ends - *m_begins != kDaySeconds - 1) m_begins.reset();
}

std::optional<std::time_t> StampReader::Of(std::string_view name) {
  const std::string_view digits = DigitsOf(name);
  if (digits.empty()) return std::nullopt;
  if (const auto day = Bytes<std::uint64_t>(digits.data()); m_day != day) {
    const std::string_view dayDigits = digits.substr(0, kDayDigits);
    if (!AreDigits(dayDigits)) return std::nullopt;
    m_day = day;
    TakeDay(dayDigits);
  }
  const unsigned hour = Pair(digits.data() + kDayDigits);
  const unsigned minute = Pair(digits.data() + kDayDigits + 2);
  const unsigned second = Pair(digits.data() + kDayDigits + 4);
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  if (!m_begins) return LocalTimeOf(digits);
  return *m_begins + static_cast<std::time_t>((hour * 60 + minute) * 60 + second);
}

std::optional<std::time_t> StampOf(const std::string& name) {
  return StampReader().Of(name);
}

}  // namespace status
