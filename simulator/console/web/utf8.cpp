#include "console/web/utf8.h"

#include <algorithm>

namespace console {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// How many bytes from `at` on make one character; 0: the byte begins none.
std::size_t CharacterAt(std::string_view text, std::size_t at) {
  const unsigned first = ByteAt(text, at);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || at + length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((ByteAt(text, at + i) & 0xC0U) != 0x80U) return 0;
  }
  const unsigned second = ByteAt(text, at + 1);
  // Overlong forms, halves of pairs, and numbers beyond the last character.
  const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return wrong ? 0 : length;
}

}  // namespace

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = CharacterAt(text, at);
    valid += length == 0 ? kReplacement : text.substr(at, length);
    at += std::max<std::size_t>(length, 1);
  }
  return valid;
}

}  // namespace console
