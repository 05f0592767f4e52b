#include "util/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace util {

void CopyText(char* field, std::size_t size, std::string_view text) {
  const std::size_t kept = std::min(text.size(), size - 1);
  if (kept > 0) std::memmove(field, text.data(), kept);  // an empty text may have no address
  field[kept] = '\0';
}

void PrintText(char* field, std::size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(field, size, format, arguments);
  va_end(arguments);
}

std::string Format(const char* format, ...) {
  constexpr std::size_t kShortBytes = 128;  // most texts fit: they are printed once
  char shortText[kShortBytes];
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(shortText, kShortBytes, format, arguments);
  va_end(arguments);

  const auto bytes = static_cast<std::size_t>(std::max(length, 0));
  std::string text(shortText, std::min(bytes, kShortBytes - 1));
  if (bytes >= kShortBytes) {
    text.resize(bytes);
    std::vsnprintf(text.data(), bytes + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string_view BaseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);  // npos + 1 is 0: no slash keeps the whole path
}

std::int32_t Decimal(const char* text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long long value = std::strtoll(text, nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

}  // namespace util
