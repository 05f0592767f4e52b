// Columns of UTF-8 text. The widths come from a table of their own: gateways have no locales.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace status {

// The length in bytes of the UTF-8 character at the start of the text. 0: no valid character is
// there.
std::size_t CharacterBytes(std::string_view text);
// How many columns the text takes. Bytes that are not UTF-8 count as one each, colours as none.
int Columns(std::string_view text);
// The text, filled with blanks to so many columns. A longer text stays as it is.
std::string Padded(std::string_view text, int columns);
// The longest start of the text that fits into so many columns. Characters stay whole.
std::string_view Cut(std::string_view text, int columns);
// Breaks the text at blanks, so that no line takes more columns than `width`. Lines after the first
// begin with `indent` blanks; the text itself holds whatever the first line begins with. A word
// that is too long stays whole, so that a command can be copied.
// Blanks at the end are dropped.
std::string Wrapped(std::string_view text, int width, int indent);
// The longest start of the text that fits into so many bytes. Characters stay whole.
std::string_view CutBytes(std::string_view text, std::size_t bytes);
// Control characters and bytes that are not UTF-8 made visible: "\n", "\x1b". Safe for a terminal,
// and always valid UTF-8.
std::string Visible(std::string_view text);
// The text as valid UTF-8: other bytes are written as "\xff".
std::string ValidUtf8(std::string_view text);

}  // namespace status
