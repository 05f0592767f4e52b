// What the terminal can show, and columns of UTF-8 text.
#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace status {

struct Terminal {
  bool colours = false;
  int width = 80;

  // Standard output: colours on a terminal without NO_COLOR, its width.
  static Terminal OfStandardOutput();

  // The text in a colour when there are colours: "green", "yellow", "red", "bold", "dim".
  std::string Colour(std::string_view name, std::string_view text) const;
};

// How many columns the text takes. Bytes that are not UTF-8 count as one each.
int Columns(std::string_view text);
// The text, filled with blanks to so many columns.
std::string Padded(std::string_view text, int columns);
// Breaks the text at blanks to the width; lines after the first begin with `indent` blanks.
std::string Wrapped(std::string_view text, int width, int indent);
// Control characters and bytes that are not UTF-8 made visible: "\n", "\x1b". Safe for a terminal.
std::string Visible(std::string_view text);

// "2 min", "3 h 20 min", "4 days": for people.
std::string Duration(long seconds);
// "2026-11-22 04:00:10", local time.
std::string LocalText(std::time_t when);
// "2026-11-22T04:00:10+01:00": RFC 3339 with offset.
std::string Rfc3339(std::time_t when);

}  // namespace status
