#include "console/uploads/text.h"

#include <algorithm>
#include <charconv>

#include "util/text.h"
#include "util/timetext.h"

namespace console {
namespace {

constexpr std::size_t kNameCharacters = 80;

bool IsPlain(char c) {
  return c >= ' ' && c <= '~';
}

}  // namespace

void WriteMember(JsonWriter& json, const char* key, std::string_view text) {
  const std::string valid = ValidUtf8(text);
  json.Key(key);
  json.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
}

void WriteMember(JsonWriter& json, const char* key, std::int64_t number) {
  json.Key(key);
  json.Int64(number);
}

void WriteMember(JsonWriter& json, const char* key, std::optional<std::int64_t> number) {
  json.Key(key);
  number ? json.Int64(*number) : json.Null();
}

std::string ShellWord(std::string_view text) {
  const bool plain = std::ranges::all_of(text, IsPlain);
  std::string word = plain ? "'" : "$'";
  for (const char c : text) {
    if (plain) {
      word += c == '\'' ? "'\\''" : std::string(1, c);
    } else if (c == '\'' || c == '\\') {
      word += std::string("\\") + c;
    } else {
      word +=
          IsPlain(c) ? std::string(1, c) : util::Format("\\x%02x", static_cast<unsigned char>(c));
    }
  }
  return word + "'";
}

std::string SafeFileName(std::string_view name, const std::string& otherwise) {
  std::string safe(name.substr(0, kNameCharacters));
  const auto isOdd = [](char c) {
    return !((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
             c == '.' || c == '-' || c == '_');
  };
  std::ranges::replace_if(safe, isOdd, '_');
  return safe.empty() || safe.front() == '.' || safe.front() == '-' ? otherwise : safe;
}

std::optional<std::time_t> TimeOfStamp(const std::string& digits) {
  constexpr std::size_t kDigits = 14;
  if (digits.size() != kDigits || digits.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  const auto part = [&](std::size_t at, std::size_t size) { return digits.substr(at, size); };
  const std::string mark = part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + " " + part(8, 2) +
                           ":" + part(10, 2) + ":" + part(12, 2);
  return util::UnixTime(util::ReadTimeMark(mark.c_str()));
}

std::optional<std::int64_t> NumberIn(const std::string& text) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace console
