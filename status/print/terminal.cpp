#include "print/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "util/text.h"

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
  const auto* const colour = std::find_if(kColours.begin(), kColours.end(),
                                          [name](const auto& each) { return each.first == name; });
  if (!colours || colour == kColours.end()) return std::string(text);
  return std::string(colour->second).append(text).append("\x1b[0m");
}

}  // namespace status
