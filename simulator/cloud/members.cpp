#include "cloud/members.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "cloud/fault.h"

namespace cloud {

namespace {

constexpr char kDigits[] = "0123456789";

// Exactly `count` decimal digits.
bool IsDigits(std::string_view text, std::size_t count) {
  return text.size() == count && text.find_first_not_of(kDigits) == std::string_view::npos;
}

std::string_view TextOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

std::string Range(std::int64_t least, std::int64_t most) {
  return std::to_string(least) + " to " + std::to_string(most);
}

}  // namespace

void ThrowAt(const std::string& place, const std::string& what) {
  throw Fault("\"" + (place.empty() ? "the document" : place) + "\" " + what);
}

Members::Members(const rapidjson::Value& object, std::string place)
    : m_place(std::move(place)), m_object(object) {
  if (!object.IsObject()) ThrowAt(m_place, "is not an object");
}

const rapidjson::Value& Members::Next(const char* key) {
  if (m_taken == m_object.MemberCount()) ThrowAt(PlaceOf(key), "is missing");
  const auto member = m_object.MemberBegin() + static_cast<std::ptrdiff_t>(m_taken);
  const std::string_view found = TextOf(member->name);
  if (found != key) {
    ThrowAt(PlaceOf(key), "is missing, \"" + std::string(found) + "\" stands in its place");
  }
  ++m_taken;
  return member->value;
}

std::string_view Members::Text(const char* key) {
  const rapidjson::Value& value = Next(key);
  if (!value.IsString()) ThrowAt(PlaceOf(key), "is not a string");
  return TextOf(value);
}

std::int64_t Members::Number(const char* key, std::int64_t least, std::int64_t most) {
  const rapidjson::Value& value = Next(key);
  if (!value.IsInt64()) ThrowAt(PlaceOf(key), "is not a whole number");
  const std::int64_t number = value.GetInt64();
  if (number < least || number > most) ThrowAt(PlaceOf(key), "is not " + Range(least, most));
  return number;
}

const rapidjson::Value& Members::Array(const char* key) {
  const rapidjson::Value& value = Next(key);
  if (!value.IsArray()) ThrowAt(PlaceOf(key), "is not an array");
  return value;
}

void Members::End() {
  if (m_taken == m_object.MemberCount()) return;
  const std::string_view found =
      TextOf((m_object.MemberBegin() + static_cast<std::ptrdiff_t>(m_taken))->name);
  ThrowAt(PlaceOf(std::string(found).c_str()), "does not belong there");
}

std::string Members::PlaceOf(const char* key) const {
  return m_place.empty() ? key : m_place + "." + key;
}

std::string Members::PlaceOf(const char* key, std::size_t index) const {
  return PlaceOf(key) + "[" + std::to_string(index) + "]";
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
  // strptime knows the ranges, but would also take fewer digits and more blanks.
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
  constexpr std::size_t kNameDigits = 14;
  return name.size() == 1 + kNameDigits + kArchiveEnding.size() && name[0] == letter &&
         IsDigits(name.substr(1, kNameDigits), kNameDigits) && name.ends_with(kArchiveEnding);
}

}  // namespace cloud
