#include "cloud/textforms.h"

#include <algorithm>
#include <ctime>
#include <string>

namespace cloud {

namespace {

constexpr char kDigits[] = "0123456789";
constexpr std::string_view kArchiveEnding = ".tar.gz";

}  // namespace

bool IsDigits(std::string_view text, std::size_t count) {
  return text.size() == count && text.find_first_not_of(kDigits) == std::string_view::npos;
}

bool IsUpperHex(std::string_view text, std::size_t least, std::size_t most) {
  return text.size() >= least && text.size() <= most &&
         text.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
}

bool IsTimeMark(std::string_view text) {
  std::string form(text);
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  std::replace_if(form.begin(), form.end(), isDigit, '0');
  if (form != "0000-00-00 00:00:00") return false;
  // strptime would take fewer digits and more blanks, but knows the ranges.
  std::tm time{};
  return strptime(std::string(text).c_str(), "%Y-%m-%d %H:%M:%S", &time) != nullptr;
}

bool IsValueText(std::string_view text, std::size_t fieldCharacters) {
  constexpr std::size_t kDecimals = 3;
  const bool cut = text.size() == fieldCharacters;
  if (text.size() > fieldCharacters) return false;
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t whole = std::min(text.find_first_not_of(kDigits), text.size());
  if (whole == 0) return false;
  const std::string_view rest = text.substr(whole);
  if (rest.empty()) return cut;
  const std::size_t decimals = rest.size() - 1;
  return rest[0] == '.' && IsDigits(rest.substr(1), decimals) &&
         (decimals == kDecimals || (cut && decimals < kDecimals));
}

bool IsDescription(std::string_view text, std::size_t fieldBytes) {
  constexpr std::string_view kLabel = "(阀值:";
  if (text.size() >= fieldBytes) return text.size() == fieldBytes;
  const std::size_t label = text.rfind(kLabel);
  if (label == std::string_view::npos || !text.ends_with(')')) return false;
  text.remove_prefix(label + kLabel.size());
  text.remove_suffix(1);
  return IsValueText(text, fieldBytes);
}

bool IsArchiveName(std::string_view name, char letter) {
  constexpr std::size_t kStampDigits = 14;
  return name.size() == 1 + kStampDigits + kArchiveEnding.size() && name[0] == letter &&
         IsDigits(name.substr(1, kStampDigits), kStampDigits) && name.ends_with(kArchiveEnding);
}

}  // namespace cloud
