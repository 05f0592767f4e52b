// Reads foreign JSON value by value, with bounded work and memory.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace console {

// What to do with what is found. The depth counts objects: 1 is the whole document.
struct JsonScan {
  // A text, or a number as it is written, under the latest key.
  std::function<void(std::string_view key, std::string_view value)> onValue;
  std::function<void(int depth)> onObjectEnd;
};

// False when the text is no JSON document, or is nested deeper than any that a gateway makes. What
// was found before has been handed out.
bool ScanJson(const std::string& text, const JsonScan& scan);

}  // namespace console
