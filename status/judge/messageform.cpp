#include "judge/messageform.h"

#include <algorithm>

namespace status {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kSpelledBlanks = "nrt";  // behind a backslash

bool IsBlank(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

char Lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                              : character;
}

// Lower case, and one blank for each row of blanks.
std::string Even(std::string_view text) {
  std::string even;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isSpelled = text[i] == '\\' && i + 1 < text.size() &&
                           kSpelledBlanks.find(text[i + 1]) != std::string_view::npos;
    if (isSpelled) ++i;
    if (!isSpelled && !IsBlank(text[i])) {
      even += Lower(text[i]);
    } else if (even.empty() || even.back() != ' ') {
      even += ' ';
    }
  }
  return even;
}

// The bytes of a conversion such as "%08x" or "%lld" at the front of the text.
std::size_t ConversionBytes(std::string_view text) {
  const std::size_t flags = text.find_first_not_of("#0- +.123456789", 1);
  if (flags == std::string_view::npos) return text.size();
  const std::size_t type = text.find_first_not_of("hljztL", flags);
  return type == std::string_view::npos ? text.size() : type + 1;
}

void Skip(std::string_view& text, std::string_view characters) {
  text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

// Removes "2026-11-22", "04:00:10" or another text of digits and one kind of mark.
void SkipNumbers(std::string_view& text, char mark) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789-:"), text.size());
  const std::string_view numbers = text.substr(0, end);
  const std::size_t at = numbers.find(mark);
  if (at == std::string_view::npos || at == 0) return;
  text.remove_prefix(end);
}

void SkipPid(std::string_view& text) {
  const std::size_t end = text.find_first_not_of(kDigits);
  if (end != 0 && end != std::string_view::npos && text[end] == '|') text.remove_prefix(end + 1);
}

void SkipLevel(std::string_view& text) {
  constexpr std::string_view kMark = "logtype:";
  if (text.substr(0, kMark.size()) == kMark) text.remove_prefix(kMark.size());
  for (const std::string_view level : {"info", "warn", "error", "fatal", "send", "recv"}) {
    const std::string_view rest = text.substr(std::min(level.size(), text.size()));
    if (text.substr(0, level.size()) != level || rest.empty()) continue;
    if (rest[0] == ' ' || rest[0] == '|') text = rest;
  }
}

// Removes "(12 times until 04:10:33)".
void SkipCount(std::string_view& text) {
  const std::size_t count = text.rfind(" (");
  if (count == std::string_view::npos || text.back() != ')') return;
  if (text.find(" times until ", count) != std::string_view::npos) text = text.substr(0, count);
}

}  // namespace

std::string MessageOfLine(std::string_view line) {
  const std::string even = Even(line);
  std::string_view text = even;
  Skip(text, " ");
  SkipPid(text);
  const std::size_t size = text.size();
  SkipNumbers(text, '-');
  Skip(text, " |");
  SkipNumbers(text, ':');
  Skip(text, " |");
  // "Send file …" begins like the level SEND, so a level counts only behind a time.
  if (text.size() != size || text.substr(0, 8) == "logtype:") SkipLevel(text);
  Skip(text, " |");
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (!text.empty()) SkipCount(text);
  return std::string(text);
}

MessageForm::MessageForm(std::string_view format) : m_pieces(1) {
  const std::string even = Even(format);
  const std::string_view text = even;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] != '%') {
      m_pieces.back() += text[i++];
    } else if (text.substr(i, 2) == "%%") {
      m_pieces.back() += '%';
      i += 2;
    } else {
      m_pieces.emplace_back();
      i += ConversionBytes(text.substr(i));
    }
  }
}

std::size_t MessageForm::OwnCharacters() const {
  std::size_t count = 0;
  for (const std::string& piece : m_pieces) count += piece.size();
  return count;
}

bool MessageForm::IsWhole(std::string_view text) const {
  const std::string_view first = m_pieces.front();
  const std::string_view last = m_pieces.back();
  if (m_pieces.size() == 1) return text == first;
  if (!text.starts_with(first)) return false;
  text.remove_prefix(first.size());
  for (std::size_t i = 1; i + 1 < m_pieces.size(); ++i) {
    const std::size_t at = text.find(m_pieces[i]);
    if (at == std::string_view::npos) return false;
    text.remove_prefix(at + m_pieces[i].size());
  }
  return text.ends_with(last);
}

// Whether the text begins with this piece's characters from `at` on and goes on with the message.
bool MessageForm::IsPartFrom(std::size_t piece, std::size_t at, std::string_view text) const {
  std::string_view own = std::string_view(m_pieces[piece]).substr(at);
  if (text.size() <= own.size()) {
    return text.size() >= kFewestCharacters && own.starts_with(text);
  }
  if (own.size() < kFewestCharacters || !text.starts_with(own)) return false;
  // More text needs a value behind the piece, and each later piece, or its beginning at the end.
  if (piece + 1 == m_pieces.size()) return false;
  text.remove_prefix(own.size());
  for (std::size_t i = piece + 1; i < m_pieces.size(); ++i) {
    const std::size_t found = text.find(m_pieces[i]);
    if (found == std::string_view::npos) return true;  // the text ends in the value
    text.remove_prefix(found + m_pieces[i].size());
    const bool isLast = i + 1 == m_pieces.size();
    if (isLast) return text.empty() || m_pieces[i].empty();
  }
  return true;
}

bool MessageForm::HasPart(std::string_view text) const {
  for (std::size_t piece = 0; piece < m_pieces.size(); ++piece) {
    for (std::size_t at = 0; at < m_pieces[piece].size(); ++at) {
      if (IsPartFrom(piece, at, text)) return true;
    }
  }
  return false;
}

}  // namespace status
