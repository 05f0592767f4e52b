#include "print/columns.h"

#include <algorithm>
#include <cstdint>
#include <span>

#include "util/text.h"

namespace status {
namespace {

// Code points, both ends included, in order.
struct CodeRange {
  std::uint32_t first;
  std::uint32_t last;
};

// Two columns: East Asian wide and full-width characters, and pictures.
constexpr CodeRange kWide[] = {{0x1100, 0x115F},   {0x231A, 0x231B},   {0x23E9, 0x23EC},
                               {0x2705, 0x2705},   {0x274C, 0x274C},   {0x2E80, 0x303E},
                               {0x3041, 0x4DBF},   {0x4E00, 0xA4C6},   {0xA960, 0xA97C},
                               {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},
                               {0xFE30, 0xFE6B},   {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},
                               {0x16FE0, 0x18CFF}, {0x1AFF0, 0x1B2FB}, {0x1F300, 0x1F64F},
                               {0x1F680, 0x1F6FC}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
// No column: combining marks and characters without a shape.
constexpr CodeRange kNarrow[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489},  {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0900, 0x0902}, {0x093C, 0x093C},  {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},  {0x1AB0, 0x1ACE}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
    {0x20D0, 0x20F0}, {0x302A, 0x302D},  {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
    {0xFEFF, 0xFEFF}, {0xE0100, 0xE01EF}};
// Characters that steer a terminal or turn the direction of a line.
constexpr CodeRange kControl[] = {
    {0x0000, 0x001F}, {0x007F, 0x009F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

bool IsIn(std::span<const CodeRange> ranges, std::uint32_t code) {
  const auto range = std::lower_bound(
      ranges.begin(), ranges.end(), code,
      [](const CodeRange& left, std::uint32_t right) { return left.last < right; });
  return range != ranges.end() && range->first <= code;
}

// The code point of a valid character.
std::uint32_t CodePoint(std::string_view character) {
  const auto byte = [character](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(character[i]));
  };
  constexpr std::uint32_t kFirstMasks[] = {0x7F, 0x1F, 0x0F, 0x07};
  std::uint32_t code = byte(0) & kFirstMasks[character.size() - 1];
  for (std::size_t i = 1; i < character.size(); ++i) code = (code << 6) | (byte(i) & 0x3F);
  return code;
}

int ColumnsOf(std::string_view character) {
  const std::uint32_t code = CodePoint(character);
  if (IsIn(kNarrow, code)) return 0;
  return IsIn(kWide, code) ? 2 : 1;
}

// The bytes of a colour sequence at the start of the text, "\x1b[1m"; 0 when there is none.
std::size_t ColourBytes(std::string_view text) {
  if (!text.starts_with("\x1b[")) return 0;
  const std::size_t end = text.find_first_not_of("0123456789;", 2);
  return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

// What stands next in a text: a character, a colour sequence, or a byte that is not UTF-8.
struct Piece {
  std::size_t bytes;
  int columns;
};

Piece NextPiece(std::string_view text) {
  if (const std::size_t colour = ColourBytes(text)) return {colour, 0};
  const std::size_t bytes = CharacterBytes(text);
  if (bytes == 0) return {1, 1};
  return {bytes, ColumnsOf(text.substr(0, bytes))};
}

std::string VisibleByte(char byte) {
  switch (byte) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return util::Format("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  }
}

// How many more bytes the character has that begins with this byte, and the limits of its second
// byte, which keep out overlong forms, surrogates and what lies past the last code point. Nothing
// begins with a byte whose `more` is negative.
struct Shape {
  int more;
  unsigned low = 0x80;
  unsigned high = 0xBF;
};

Shape ShapeOf(unsigned first) {
  if (first < 0x80) return {0};
  if (first < 0xC2 || first > 0xF4) return {-1};
  if (first < 0xE0) return {1};
  if (first == 0xE0) return {2, 0xA0};
  if (first == 0xED) return {2, 0x80, 0x9F};
  if (first < 0xF0) return {2};
  if (first == 0xF0) return {3, 0x90};
  if (first == 0xF4) return {3, 0x80, 0x8F};
  return {3};
}

// The text with foreign bytes, and control characters where wanted, written as ASCII.
std::string WithBytesShown(std::string_view text, bool controlsToo) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t bytes = CharacterBytes(text);
    const std::string_view piece = text.substr(0, std::max<std::size_t>(bytes, 1));
    if (bytes > 0 && !(controlsToo && IsIn(kControl, CodePoint(piece)))) {
      shown.append(piece);
    } else {
      for (const char byte : piece) shown += VisibleByte(byte);
    }
    text.remove_prefix(piece.size());
  }
  return shown;
}

}  // namespace

std::size_t CharacterBytes(std::string_view text) {
  if (text.empty()) return 0;
  const Shape shape = ShapeOf(static_cast<unsigned char>(text[0]));
  if (shape.more < 0) return 0;
  const std::size_t bytes = static_cast<std::size_t>(shape.more) + 1;
  if (text.size() < bytes) return 0;
  for (std::size_t i = 1; i < bytes; ++i) {
    const unsigned byte = static_cast<unsigned char>(text[i]);
    if (byte < (i == 1 ? shape.low : 0x80) || byte > (i == 1 ? shape.high : 0xBF)) return 0;
  }
  return bytes;
}

int Columns(std::string_view text) {
  int columns = 0;
  while (!text.empty()) {
    const Piece piece = NextPiece(text);
    columns += piece.columns;
    text.remove_prefix(piece.bytes);
  }
  return columns;
}

std::string Padded(std::string_view text, int columns) {
  const int missing = columns - Columns(text);
  return std::string(text).append(static_cast<std::size_t>(std::max(missing, 0)), ' ');
}

std::string_view Cut(std::string_view text, int columns) {
  std::size_t end = 0;
  while (end < text.size()) {
    const Piece piece = NextPiece(text.substr(end));
    if (piece.columns > columns) break;
    columns -= piece.columns;
    end += piece.bytes;
  }
  return text.substr(0, end);
}

std::string Wrapped(std::string_view text, int width, int indent) {
  std::string wrapped;
  int column = 0;
  while (!text.empty()) {
    // Blanks and the word behind them stay together, or the word begins a line.
    const std::size_t word = text.find_first_not_of(' ');
    if (word == std::string_view::npos) break;
    const std::size_t end = std::min(text.find(' ', word), text.size());
    const int columns = Columns(text.substr(0, end));
    const bool begins = column > 0 && word > 0 && column + columns > width;
    if (begins) {
      wrapped.append("\n").append(static_cast<std::size_t>(indent), ' ');
      column = indent + Columns(text.substr(word, end - word));
    } else {
      column += columns;
    }
    wrapped.append(text.substr(begins ? word : 0, end - (begins ? word : 0)));
    text.remove_prefix(end);
  }
  return wrapped;
}

std::string_view CutBytes(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  std::size_t end = 0;
  while (true) {
    const std::size_t next = end + std::max<std::size_t>(CharacterBytes(text.substr(end)), 1);
    if (next > bytes) return text.substr(0, end);
    end = next;
  }
}

std::string Visible(std::string_view text) {
  return WithBytesShown(text, true);
}

std::string ValidUtf8(std::string_view text) {
  return WithBytesShown(text, false);
}

}  // namespace status
