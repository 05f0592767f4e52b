#include "collect/logtime.h"

#include "util/timetext.h"

namespace status {
namespace {

constexpr std::string_view kForm = "0000-00-00 00:00:00";
constexpr std::size_t kHourBytes = 13;

bool HasForm(std::string_view text) {
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == '0' ? !isDigit : text[i] != kForm[i]) return false;
  }
  return true;
}

int TwoDigits(std::string_view text, std::size_t at) {
  return (text[at] - '0') * 10 + (text[at + 1] - '0');
}

}  // namespace

std::optional<std::time_t> RecordTimes::Read(std::string_view text) {
  if (!HasForm(text)) return std::nullopt;
  const int month = TwoDigits(text, 5);
  const int day = TwoDigits(text, 8);
  const int hour = TwoDigits(text, 11);
  const int minute = TwoDigits(text, 14);
  const int second = TwoDigits(text, 17);
  if (month < 1 || month > 12 || day > 31 || hour > 23 || minute > 59 || second > 60) {
    return std::nullopt;
  }
  if (m_hour != text.substr(0, kHourBytes)) {
    m_hour = text.substr(0, kHourBytes);
    m_startOfHour = util::UnixTime(util::ReadTimeMark((m_hour + ":00:00").c_str()));
  }
  return m_startOfHour + minute * 60L + second;
}

}  // namespace status
