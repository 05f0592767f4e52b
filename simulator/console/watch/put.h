// Members of JSON objects.
#pragma once

#include <concepts>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "console/web/router.h"
#include "print/columns.h"

namespace console {

template <std::signed_integral T>
void Put(JsonWriter& json, const char* key, T value) {
  json.Key(key);
  json.Int64(value);
}
inline void Put(JsonWriter& json, const char* key, bool value) {
  json.Key(key);
  json.Bool(value);
}
inline void PutNull(JsonWriter& json, const char* key) {
  json.Key(key);
  json.Null();
}

// A text that may hold any byte: control characters and what is not UTF-8 become visible.
inline void PutText(JsonWriter& json, std::string_view text) {
  const std::string visible = status::Visible(text);
  json.String(visible.data(), static_cast<rapidjson::SizeType>(visible.size()));
}
inline void Put(JsonWriter& json, const char* key, std::string_view text) {
  json.Key(key);
  PutText(json, text);
}
inline void Put(JsonWriter& json, const char* key, const char* text) {
  Put(json, key, std::string_view(text));
}
inline void Put(JsonWriter& json, const char* key, const std::string& text) {
  Put(json, key, std::string_view(text));
}

// Null when it is unknown.
template <typename T>
void Put(JsonWriter& json, const char* key, const std::optional<T>& value) {
  if (value) {
    Put(json, key, *value);
  } else {
    PutNull(json, key);
  }
}
// A time of which 0 means that it is unknown.
inline void PutTime(JsonWriter& json, const char* key, std::time_t when) {
  if (when == 0) return PutNull(json, key);
  Put(json, key, when);
}

}  // namespace console
