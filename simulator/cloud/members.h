// Owns the strict reading of one JSON object: exactly these members, in exactly this order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "util/json.h"

namespace cloud {

// Throws a Fault that begins with the place, quoted: `"data[3].eqpId" is …`.
[[noreturn]] void ThrowAt(const std::string& place, const std::string& what);

// What it is for: taking an object's members one by one. Every operation throws a Fault, which
// names the place in the document, when the next member is not the one asked for or has another
// type. Threads: the one that holds it. Owns: nothing; it lives within the document.
class Members {
 public:
  // `place` is where the object stands, e.g. "data[3]"; empty for the whole document.
  Members(const rapidjson::Value& object, std::string place);

  std::string_view Text(const char* key);
  // A whole number from `least` to `most`.
  std::int64_t Number(const char* key, std::int64_t least, std::int64_t most);
  const rapidjson::Value& Array(const char* key);
  // Throws when a member is left that was not asked for.
  void End();

  // Where the member `key` stands, e.g. "data[3].eqpId".
  std::string PlaceOf(const char* key) const;
  // Where an element of the array under `key` stands, e.g. "data[3].values[0]".
  std::string PlaceOf(const char* key, std::size_t index) const;

 private:
  const rapidjson::Value& Next(const char* key);

  std::string m_place;
  const rapidjson::Value& m_object;
  rapidjson::SizeType m_taken = 0;
};

}  // namespace cloud
