// Owns the strict reading of one JSON object, exactly these members in exactly this order, and the
// forms that texts in the gateway's documents must have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "util/json.h"

namespace cloud {

// Throws a Fault that begins with the place, quoted: `"data[3].eqpId" is …`.
[[noreturn]] void ThrowAt(const std::string& place, const std::string& what);

// Takes an object's members one by one. Every operation throws a Fault that names the place in the
// document when the next member is not the one asked for or has another type. One thread uses it,
// while the document lives.
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

// At least `least` and at most `most` hexadecimal digits, the letters in upper case.
bool IsUpperHex(std::string_view text, std::size_t least, std::size_t most);

// A possible time as "YYYY-MM-DD hh:mm:ss".
bool IsTimeMark(std::string_view text);

// A decimal number with exactly three decimals. The gateway cuts a longer one at the end of its
// field, so the first `fieldCharacters` characters of one are a value too.
bool IsValueText(std::string_view text, std::size_t fieldCharacters);

// An alarm's description: a name, then the threshold like "(阀值:30.000)". The gateway cuts a
// longer one at `fieldBytes` bytes.
bool IsDescription(std::string_view text, std::size_t fieldBytes);

inline constexpr std::string_view kArchiveEnding = ".tar.gz";

// A data file's name: the letter, a 14-digit stamp, ".tar.gz".
bool IsArchiveName(std::string_view name, char letter);

}  // namespace cloud
