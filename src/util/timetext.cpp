#include "util/timetext.h"

#include <charconv>
#include <cstdio>
#include <initializer_list>
#include <iterator>

namespace util {

namespace {

// Appends a number, with zeros before it up to `fewest` characters. A negative number takes
// `fewest` of at most 2.
void AppendDigits(std::string& text, std::size_t fewest, int number) {
  char digits[sizeof("-2147483648")];
  const char* const end = std::to_chars(digits, std::end(digits), number).ptr;
  const auto count = static_cast<std::size_t>(end - digits);
  if (count < fewest) text.append(fewest - count, '0');
  text.append(digits, count);
}

// Appends the parts of a date or a clock after the first one.
void AppendParts(std::string& text, char separator, int first, int second) {
  text += separator;
  AppendDigits(text, 2, first);
  text += separator;
  AppendDigits(text, 2, second);
}

void AppendDate(std::string& text, std::size_t yearDigits, const std::tm& time) {
  AppendDigits(text, yearDigits, time.tm_year + 1900);
  AppendParts(text, '-', time.tm_mon + 1, time.tm_mday);
}

void AppendClock(std::string& text, const std::tm& time) {
  AppendDigits(text, 2, time.tm_hour);
  AppendParts(text, ':', time.tm_min, time.tm_sec);
}

}  // namespace

std::optional<std::tm> LocalTime(std::time_t when) {
  UpdateZone();
  return TimeInZone(when);
}

void UpdateZone() {
  tzset();  // localtime_r need not notice a changed zone
}

std::optional<std::tm> TimeInZone(std::time_t when) {
  std::tm time{};
  if (localtime_r(&when, &time) == nullptr) return std::nullopt;
  return time;
}

std::string Stamp(const std::tm& time) {
  std::string stamp;
  AppendDigits(stamp, 4, time.tm_year + 1900);
  for (const int number : {time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec}) {
    AppendDigits(stamp, 2, number);
  }
  return stamp;
}

// A recall has thousands of them. To print one takes six times as long.
std::string TimeMark(const std::tm& time) {
  std::string mark;
  mark.reserve(sizeof("YYYY-MM-DD hh:mm:ss"));
  AppendDate(mark, 4, time);
  mark += ' ';
  AppendClock(mark, time);
  return mark;
}

std::string DateText(const std::tm& time) {
  std::string date;
  AppendDate(date, 1, time);
  return date;
}

std::string ClockText(const std::tm& time) {
  std::string clock;
  AppendClock(clock, time);
  return clock;
}

// The result is defined by sscanf: its field widths, and its stop at the first mismatch.
// NOLINTBEGIN(cert-err34-c)
void ReadDate(const char* text, std::tm* time) {
  int year = 0;
  int month = 0;
  int day = 0;
  std::sscanf(text, "%4d-%02d-%02d", &year, &month, &day);
  time->tm_year = year - 1900;
  time->tm_mon = month - 1;
  time->tm_mday = day;
}

void ReadClock(const char* text, std::tm* time) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::sscanf(text, "%02d:%02d:%02d", &hour, &minute, &second);
  time->tm_hour = hour;
  time->tm_min = minute;
  time->tm_sec = second;
}

std::tm ReadTimeMark(const char* text) {
  int year = 0;
  int month = 0;
  std::tm time{};
  std::sscanf(text, "%04d-%02d-%02d %02d:%02d:%02d", &year, &month, &time.tm_mday, &time.tm_hour,
              &time.tm_min, &time.tm_sec);
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  return time;
}
// NOLINTEND(cert-err34-c)

std::time_t UnixTime(std::tm time) {
  time.tm_isdst = -1;
  return std::mktime(&time);
}

}  // namespace util
