#include "console/bench/placeholders.h"

#include <functional>
#include <regex>

#include "util/text.h"
#include "util/timetext.h"

namespace console {
namespace {

constexpr std::time_t kMinute = 60;
constexpr std::time_t kDay = 86400;
constexpr std::size_t kToTheMinute = 16;  // characters of "2026-11-22 10:00"

std::string Replaced(const std::string& text, const std::regex& pattern,
                     const std::function<std::string(const std::smatch&)>& by) {
  std::string result;
  auto from = text.cbegin();
  for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) {
    result.append(from, (*it)[0].first);
    result += by(*it);
    from = (*it)[0].second;
  }
  return result.append(from, text.cend());
}

}  // namespace

std::string WithTimes(const std::string& text, std::time_t now) {
  static const std::regex kAgo("<([0-9]{1,6}) minutes ago>");
  return Replaced(text, kAgo, [now](const std::smatch& match) {
    const auto time = util::LocalTime(now - std::stol(match[1]) * kMinute);
    return time ? util::TimeMark(*time).substr(0, kToTheMinute) : match.str();
  });
}

std::string WithoutTimes(const std::string& json, std::time_t now) {
  static const std::regex kTime(R"re("([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2})")re");
  return Replaced(json, kTime, [now](const std::smatch& match) {
    const std::time_t when = util::UnixTime(util::ReadTimeMark((match[1].str() + ":00").c_str()));
    if (when > now || now - when > kDay) return match.str();
    return util::Format("\"<%lld minutes ago>\"", static_cast<long long>((now - when) / kMinute));
  });
}

}  // namespace console
