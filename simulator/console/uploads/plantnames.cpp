#include "console/uploads/plantnames.h"

#include <charconv>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>

#include "acquisition/plant.h"
#include "util/paths.h"
#include "util/text.h"

namespace console {
namespace {

constexpr unsigned kChannelShift = 24;
constexpr unsigned kDeviceShift = 16;
constexpr unsigned kByte = 0xFF;
constexpr std::size_t kPointDigits = 4;

// A number that is all of the text; nothing when it is anything else or greater than `most`.
std::optional<unsigned> Number(std::string_view text, int base, unsigned most) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end || number > most) return std::nullopt;
  return number;
}

}  // namespace

std::string PointIdText(std::uint32_t dataId) {
  return util::Format("%u/%u:%04X", dataId >> kChannelShift, (dataId >> kDeviceShift) & kByte,
                      dataId & 0xFFFFU);
}

std::optional<std::uint32_t> PointIdIn(const std::string& text) {
  const std::size_t slash = text.find('/');
  const std::size_t colon = text.find(':');
  if (slash == std::string::npos || colon == std::string::npos || colon < slash) return {};
  const std::string_view all(text);
  const auto channel = Number(all.substr(0, slash), 10, kByte);
  const auto device = Number(all.substr(slash + 1, colon - slash - 1), 10, kByte);
  const auto point = Number(all.substr(colon + 1), 16, 0xFFFF);
  if (!channel || !device || !point || text.size() - colon - 1 > kPointDigits) return {};
  return (*channel << kChannelShift) | (*device << kDeviceShift) | *point;
}

PlantNames::PlantNames() = default;
PlantNames::~PlantNames() = default;

PointName PlantNames::Find(std::uint32_t dataId) {
  const std::lock_guard lock(m_mutex);
  Load();
  PointName found;
  found.device = util::Format("%u/%u", dataId >> kChannelShift, (dataId >> kDeviceShift) & kByte);
  if (!m_plant) return found;
  const auto device = m_plant->devices.find(static_cast<std::uint16_t>(dataId >> kDeviceShift));
  if (device != m_plant->devices.end() && !device->second.description.empty()) {
    found.device = device->second.description;
  }
  const auto point = m_plant->points.find(dataId);
  if (point == m_plant->points.end()) return found;
  found.name = point->second.name;
  found.unit = point->second.unit;
  return found;
}

void PlantNames::Load() {
  std::error_code error;
  const auto changed = std::filesystem::last_write_time(paths::kChannelTemplate, error);
  if (error) return;
  const std::int64_t stamp = changed.time_since_epoch().count();
  if (stamp == m_changed) return;
  m_changed = stamp;
  if (auto plant = ReadPlant(paths::kChannelTemplate)) {
    m_plant = std::make_unique<Plant>(std::move(*plant));
  }
}

}  // namespace console
