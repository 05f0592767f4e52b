// Owns the simulator's own reading of the plant: the points that the acquisition side polls, from
// the channel template and its device-definition files. It shares no code with the service's
// catalogue, so that a mistake in one of them shows as a difference.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class PointType : std::uint8_t { kAi = 0, kDi = 1, kAcc = 2, kDo = 3, kAo = 4 };

inline constexpr int kPointTypes = 5;

// The name that the device-definition files use: AI, DI, ACC, DO or AO.
std::string_view PointTypeName(PointType type);

// One sample point.
struct PlantPoint {
  std::uint32_t dataId = 0;  // identifier in the segment, see DataIdOf
  PointType type = PointType::kAi;
  std::string name;  // at most 126 bytes, UTF-8
  std::string unit;  // engineering unit, at most 126 bytes, UTF-8; may be empty
};

// One field device.
struct PlantDevice {
  std::string definition;   // path of its definition file, at most 126 bytes
  std::string protocol;     // at most 126 bytes
  std::string description;  // at most 126 bytes, UTF-8
  std::uint8_t channel = 0;
  std::uint8_t slave = 0;  // bus address on the channel
};

// Everything that the acquisition side polls.
struct Plant {
  std::map<std::uint32_t, PlantPoint> points;      // by DataId
  std::map<std::uint16_t, PlantDevice> devices;    // by (channel << 8) | slave
  std::vector<std::string> unreadableDefinitions;  // files that gave their device no points
};

// The identifier of a point. From the top: 8 bits channel, 8 bits slave, bits 11-8 of the node,
// 4 bits type, bits 7-0 of the node. Bits 15-12 of the node are lost.
std::uint32_t DataIdOf(std::uint8_t channel, std::uint8_t slave, PointType type,
                       std::uint16_t node);

// The type in bits 11-8 of an identifier; nothing when they name no type.
std::optional<PointType> TypeOf(std::uint32_t dataId);

// Reads the template and every definition file that it names. An attribute that a Dev element omits
// keeps the value of the Dev element before it, in the whole template. An attribute that a Node
// element omits keeps the value of the Node before it, within the definition file. Of two points
// with one DataId the later one stays. Returns nothing when the template cannot be read or its root
// is not ChannelConfig. A definition file that cannot be read is listed; its device has no points.
std::optional<Plant> ReadPlant(const char* templatePath);
