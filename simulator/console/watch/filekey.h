// The short form of a data file's name: its kind and its stamp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace console {

enum class Kind : std::uint8_t { kRealData, kAlarmData, kCallData };
inline constexpr int kKinds = 3;

// "realdata", "alarmdata", "calldata".
const char* NameOf(Kind kind);

struct FileKey {
  Kind kind = Kind::kRealData;
  std::uint64_t stamp = 0;  // its 14 digits as a number

  bool operator==(const FileKey&) const = default;
  bool operator<(const FileKey& other) const {
    return std::tie(kind, stamp) < std::tie(other.kind, other.stamp);
  }
  // Day of the month, which names the folder of live values and alarms.
  int Day() const { return static_cast<int>(stamp / 1'000'000 % 100); }
};

// The key of "S20261122040000.tar.gz", with or without folders. Nothing for any other name.
std::optional<FileKey> KeyOf(std::string_view name);
// "S20261122040000.tar.gz".
std::string BaseNameOf(const FileKey& key);

}  // namespace console
