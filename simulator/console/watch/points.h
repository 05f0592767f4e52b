// The configured points, as people and documents name them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "collect/configuration.h"

namespace console {

// So many points are kept; the largest gateway that can send has a few thousand.
inline constexpr std::size_t kMostPoints = 10'000;

struct PointInfo {
  std::uint32_t dataId = 0;
  std::string id;      // channel/device:point, "1/3:1123"
  std::string device;  // its description, or its number "1/3"
  std::string name;
  const char* type = "";  // "AI", "DI", "ACC", "DO", "AO"
  std::string unit;
};

class Points {
 public:
  Points() = default;
  explicit Points(const status::Configuration& configuration);

  const std::vector<PointInfo>& All() const { return m_points; }
  // The place of a point in All().
  std::optional<std::size_t> PlaceOf(std::uint32_t dataId) const;

 private:
  std::vector<PointInfo> m_points;
  std::unordered_map<std::uint32_t, std::size_t> m_places;
};

// "1/3:1123", and all names of a point: "1/3:1123 Level (01031123 in the logs)".
std::string IdText(std::uint32_t dataId);
std::string PointText(const status::Configuration& configuration, std::uint32_t dataId);
// The same of the digits that the logs have; other texts are given back.
std::string LoggedPointText(const status::Configuration& configuration, const std::string& digits);
// The DataId of "1/3:1123"; nothing for any other text.
std::optional<std::uint32_t> DataIdOf(std::string_view id);
// The DataId of a channel, a device and "1123".
std::optional<std::uint32_t> DataIdOf(unsigned channel, unsigned device, std::string_view point);

}  // namespace console
