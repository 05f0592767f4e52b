#include "console/watch/points.h"

#include <array>
#include <charconv>

#include "util/text.h"

namespace console {
namespace {

constexpr unsigned kGreatestNumber = 255;  // of a channel, and of a device
constexpr int kHexadecimal = 16;

std::optional<unsigned> NumberIn(std::string_view text, int base, unsigned greatest) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, base);
  const bool isNumber = read.ec == std::errc() && read.ptr == end && number <= greatest;
  return isNumber ? std::optional(number) : std::nullopt;
}

std::string DeviceText(const status::Configuration& configuration, const ST_POINTID_ATTR& point) {
  const std::uint16_t number = ComposeDeviceNumber(point.GroupNo, point.DevId);
  if (configuration.devices != nullptr) {
    const auto device = configuration.devices->find(number);
    if (device != configuration.devices->end() && device->second.Desc[0] != '\0') {
      return device->second.Desc;
    }
  }
  return util::Format("%u/%u", unsigned{point.GroupNo}, unsigned{point.DevId});
}

PointInfo InfoOf(const status::Configuration& configuration, std::uint32_t dataId,
                 const ST_POINTID_ATTR& point) {
  constexpr std::array kTypes = {"AI", "DI", "ACC", "DO", "AO"};
  PointInfo info;
  info.dataId = dataId;
  info.id = IdText(dataId);
  info.device = DeviceText(configuration, point);
  info.name = point.Name;
  info.type = point.type < kTypes.size() ? kTypes[point.type] : "";
  info.unit = point.EUUnits;
  return info;
}

}  // namespace

Points::Points(const status::Configuration& configuration) {
  if (configuration.points == nullptr) return;
  for (const auto& [dataId, point] : *configuration.points) {
    if (m_points.size() >= kMostPoints) break;
    m_places[dataId] = m_points.size();
    m_points.push_back(InfoOf(configuration, dataId, point));
  }
}

std::optional<std::size_t> Points::PlaceOf(std::uint32_t dataId) const {
  const auto place = m_places.find(dataId);
  return place == m_places.end() ? std::nullopt : std::optional(place->second);
}

std::string IdText(std::uint32_t dataId) {
  return util::Format("%u/%u:%04X", dataId >> 24, dataId >> 16 & 0xFFU, dataId & 0xFFFFU);
}

std::string PointText(const status::Configuration& configuration, std::uint32_t dataId) {
  std::string name;
  if (configuration.points != nullptr) {
    const auto point = configuration.points->find(dataId);
    if (point != configuration.points->end()) name = std::string(" ") + point->second.Name;
  }
  return IdText(dataId) + name + util::Format(" (%08x in the logs)", dataId);
}

std::string LoggedPointText(const status::Configuration& configuration, const std::string& digits) {
  std::uint32_t dataId = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, dataId, kHexadecimal);
  const bool isId = !digits.empty() && read.ec == std::errc() && read.ptr == end;
  return isId ? PointText(configuration, dataId) : digits;
}

std::optional<std::uint32_t> DataIdOf(unsigned channel, unsigned device, std::string_view point) {
  const auto low = NumberIn(point, kHexadecimal, 0xFFFF);
  if (channel > kGreatestNumber || device > kGreatestNumber || !low) return std::nullopt;
  return channel << 24 | device << 16 | *low;
}

std::optional<std::uint32_t> DataIdOf(std::string_view id) {
  const auto slash = id.find('/');
  const auto colon = id.find(':');
  if (slash == std::string_view::npos || colon == std::string_view::npos || colon < slash) {
    return std::nullopt;
  }
  const auto channel = NumberIn(id.substr(0, slash), 10, kGreatestNumber);
  const auto device = NumberIn(id.substr(slash + 1, colon - slash - 1), 10, kGreatestNumber);
  if (!channel || !device) return std::nullopt;
  return DataIdOf(*channel, *device, id.substr(colon + 1));
}

}  // namespace console
