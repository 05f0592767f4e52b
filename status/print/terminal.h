// What the terminal can show.
#pragma once

#include <string>
#include <string_view>

#include "collect/times.h"
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

}  // namespace status
