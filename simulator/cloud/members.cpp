#include "cloud/members.h"

#include <utility>

#include "cloud/fault.h"

namespace cloud {

namespace {

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

}  // namespace cloud
