// Compares texts with the printf formats of messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace status {

// The message in a line of a log or of this program's own list: without date, level, Pid and count
// of repeats, in lower case, with one blank for blanks and line ends. Line ends may be spelled
// "\n".
std::string MessageOfLine(std::string_view line);

// The form of a message: its own characters, with places for any values between them.
class MessageForm {
 public:
  // A part of a message is recognised by so many of its own characters.
  static constexpr std::size_t kFewestCharacters = 4;

  // A printf format, as in the source.
  explicit MessageForm(std::string_view format);

  // The number of the message's own characters.
  std::size_t OwnCharacters() const;
  // Whether the text, as MessageOfLine gives it, is the whole message with some values.
  bool IsWhole(std::string_view text) const;
  // Whether the text is a part of the message with some values, which begins with characters of the
  // message's own.
  bool HasPart(std::string_view text) const;

 private:
  bool IsPartFrom(std::size_t piece, std::size_t at, std::string_view text) const;

  std::vector<std::string> m_pieces;  // a value stands between two pieces; a piece may be empty
};

}  // namespace status
