#include "print/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "util/text.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr int kDefaultWidth = 80;
constexpr int kNarrowest = 20;
constexpr int kWidest = 1000;

int WidthOfStandardOutput() {
  int width = 0;
  if (const char* columns = std::getenv("COLUMNS")) width = util::Decimal(columns);
  winsize size{};
  if (width <= 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) width = size.ws_col;
  return width <= 0 ? kDefaultWidth : std::clamp(width, kNarrowest, kWidest);
}

}  // namespace

Terminal Terminal::OfStandardOutput() {
  const auto isSet = [](const char* name, const char* but) {
    const char* value = std::getenv(name);
    return value != nullptr && std::strcmp(value, but) != 0;
  };
  Terminal terminal;
  const bool isDumb = isSet("TERM", "") && !isSet("TERM", "dumb");
  terminal.colours = isatty(STDOUT_FILENO) == 1 && !isSet("NO_COLOR", "") && !isDumb;
  terminal.width = WidthOfStandardOutput();
  return terminal;
}

std::string Terminal::Colour(std::string_view name, std::string_view text) const {
  constexpr std::array<std::pair<std::string_view, const char*>, 5> kColours = {
      {{"green", "\x1b[32m"},
       {"yellow", "\x1b[33m"},
       {"red", "\x1b[31m"},
       {"bold", "\x1b[1m"},
       {"dim", "\x1b[2m"}}};
  const auto colour = std::find_if(kColours.begin(), kColours.end(),
                                   [name](const auto& each) { return each.first == name; });
  if (!colours || colour == kColours.end()) return std::string(text);
  return std::string(colour->second).append(text).append("\x1b[0m");
}

std::string Duration(long seconds) {
  constexpr long kMinute = 60;
  constexpr long kHour = 60 * kMinute;
  constexpr long kDay = 24 * kHour;
  if (seconds < 0) return "-" + Duration(seconds < -kDay * 365000 ? kDay * 365000 : -seconds);
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
