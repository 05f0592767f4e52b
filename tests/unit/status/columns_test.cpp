#include "print/columns.h"

#include <gtest/gtest.h>

namespace {

struct Width {
  const char* name;
  std::string text;
  int columns;
};

const Width kWidths[] = {
    {"nothing", "", 0},
    {"ASCII", "pump 1", 6},
    {"Latin with an accent", "Zürich", 6},
    {"a combining accent", "Zu\u0308rich", 6},
    {"Chinese", "冷却塔", 6},
    {"Hangul", "서울", 4},
    {"full width", "Ａ１", 4},
    {"half width", "ｱｲ", 2},
    {"a picture", "🔥", 2},
    {"a zero width space", "a\u200Bb", 2},
    {"a byte that is not UTF-8", "a\xff", 2},
    {"a cut character", "a\xe5\x86", 3},
    {"an overlong form", "\xc0\xaf", 2},
    {"a long overlong form", "\xe0\x80\xaf", 3},
    {"a surrogate", "\xed\xa0\x80", 3},
    {"past the last code point", "\xf4\x90\x80\x80", 4},
    {"colours", "\x1b[1;31mbad\x1b[0m", 3},
    {"no colour", "\x1b[1J", 4},
};

struct Wrap {
  const char* name;
  std::string text;
  int width;
  int indent;
  std::string wrapped;
};

const Wrap kWraps[] = {
    {"short", "one two", 7, 2, "one two"},
    {"two lines", "one two", 6, 2, "one\n  two"},
    {"the indent counts", "a bb cc dd", 6, 2, "a bb\n  cc\n  dd"},
    {"a first line that begins with columns", "state   ok but", 10, 8, "state   ok\n        but"},
    {"a long word stays whole", "see /very/long/path now", 6, 1, "see\n /very/long/path\n now"},
    {"a long word at the start", "abcdefgh i", 4, 0, "abcdefgh\ni"},
    {"wide characters", "冷却 塔塔", 8, 0, "冷却\n塔塔"},
    {"blanks at the end", "one ", 9, 0, "one"},
};

}  // namespace

TEST(Columns, CountsWhatATerminalShows) {
  for (const Width& row : kWidths) EXPECT_EQ(status::Columns(row.text), row.columns) << row.name;
}

TEST(Columns, FillsWithBlanksByColumns) {
  EXPECT_EQ(status::Padded("冷却", 6), "冷却  ");
  EXPECT_EQ(status::Padded("longer", 3), "longer");
}

TEST(Columns, CutsBetweenCharacters) {
  EXPECT_EQ(status::Cut("冷却塔", 5), "冷却");
  EXPECT_EQ(status::Cut("u\u0308x", 1), "u\u0308");
  EXPECT_EQ(status::Cut("abc", 5), "abc");
  EXPECT_EQ(status::Cut("abc", -1), "");
}

TEST(Columns, BreaksLinesAtBlanks) {
  for (const Wrap& row : kWraps)
    EXPECT_EQ(status::Wrapped(row.text, row.width, row.indent), row.wrapped) << row.name;
}

TEST(Columns, MakesControlCharactersAndForeignBytesVisible) {
  const std::pair<std::string, const char*> rows[] = {
      {"冷却 \\ ok", "冷却 \\ ok"},
      {"a\nb\r\tc", "a\\nb\\r\\tc"},
      {"\x1b[2J", "\\x1b[2J"},
      {std::string("\0", 1), "\\x00"},
      {"\x7f", "\\x7f"},
      {"\xc2\x9b", "\\xc2\\x9b"},
      {"\xff\xe5\x86", "\\xff\\xe5\\x86"},
      {"a\u202Eb", "a\\xe2\\x80\\xaeb"},
  };
  for (const auto& [text, visible] : rows) EXPECT_EQ(status::Visible(text), visible);
}
