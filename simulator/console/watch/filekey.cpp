#include "console/watch/filekey.h"

#include <charconv>

#include "util/text.h"

namespace console {
namespace {

constexpr std::string_view kLetters = "STR";  // in the order of Kind
constexpr std::string_view kSuffix = ".tar.gz";
constexpr std::size_t kDigits = 14;

}  // namespace

const char* NameOf(Kind kind) {
  switch (kind) {
    case Kind::kRealData:
      return "realdata";
    case Kind::kAlarmData:
      return "alarmdata";
    case Kind::kCallData:
      break;
  }
  return "calldata";
}

std::optional<FileKey> KeyOf(std::string_view name) {
  name = util::BaseName(name);
  if (name.size() != 1 + kDigits + kSuffix.size() || !name.ends_with(kSuffix)) return std::nullopt;
  const std::size_t kind = kLetters.find(name.front());
  if (kind == std::string_view::npos) return std::nullopt;
  FileKey key{.kind = static_cast<Kind>(kind)};
  const char* const end = name.data() + 1 + kDigits;
  const auto read = std::from_chars(name.data() + 1, end, key.stamp);
  return read.ec == std::errc() && read.ptr == end ? std::optional(key) : std::nullopt;
}

std::string BaseNameOf(const FileKey& key) {
  return util::Format("%c%014llu.tar.gz", kLetters[static_cast<std::size_t>(key.kind)],
                      static_cast<unsigned long long>(key.stamp));
}

}  // namespace console
