// What the terminal can show, and times for people and machines.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include "print/columns.h"

namespace status {

struct Terminal {
  bool colours = false;
  int width = 80;

  // Standard output: its width, and colours on a terminal unless NO_COLOR is set. COLUMNS, if set,
  // is the width. Without a terminal the width is 80.
  static Terminal OfStandardOutput();

  // The text in a colour when there are colours: "green", "yellow", "red", "bold", "dim". Any other
  // name leaves the text as it is.
  std::string Colour(std::string_view name, std::string_view text) const;
};

// "45 s", "2 min", "3 h 20 min", "4 days": for people. A negative one begins with "-".
std::string Duration(long seconds);
// "2026-11-22 04:00:10", local time. A time that has no date is "@" and Unix seconds.
std::string LocalText(std::time_t when);
// "2026-11-22T04:00:10+01:00": RFC 3339 with offset. Empty for a time that it cannot express.
std::string Rfc3339(std::time_t when);

}  // namespace status
