#include "packfile/realdatadocument.h"

#include <unistd.h>

#include "util/text.h"

namespace {

constexpr std::uint8_t kChannelLeftOut = 193;  // deliberate: never part of a real-data file
constexpr unsigned kDevicePauseMicroseconds = 100000;
constexpr unsigned kChannelPauseMicroseconds = 500000;
constexpr std::size_t kPointIdBytes = 15;
constexpr std::size_t kValueBytes = 15;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// What the walk over the catalogue carries along. Catalogue and values are both in rising DataId,
// so one cursor that only moves forward serves the whole file.
struct Walk {
  Writer& writer;
  Real_Data_Struct::const_iterator cursor;
  Real_Data_Struct::const_iterator end;
};

// False when the values run out before the point.
bool FindValue(Walk& walk, std::uint32_t dataId) {
  while (walk.cursor != walk.end && walk.cursor->first != dataId) ++walk.cursor;
  return walk.cursor != walk.end;
}

bool WritePoint(Walk& walk, std::uint32_t dataId) {
  char pointId[kPointIdBytes];
  util::PrintText(pointId, sizeof(pointId), "%04X", dataId & 0xFFFFU);
  walk.writer.StartObject();
  walk.writer.Key("pointId");
  walk.writer.String(pointId);
  if (!FindValue(walk, dataId)) return false;

  char value[kValueBytes];
  util::PrintText(value, sizeof(value), "%.3lf", walk.cursor->second);
  walk.writer.Key("value");
  walk.writer.String(value);
  walk.writer.EndObject();
  return true;
}

// The first DataId of the device that has no value, or nothing.
std::optional<std::uint32_t> WriteDevice(Walk& walk, std::uint8_t channel, std::uint8_t device,
                                         const MAP_POINT_ATTR& points, const char* timeMark) {
  walk.writer.StartObject();
  walk.writer.Key("groupId");
  walk.writer.Uint(channel);
  walk.writer.Key("eqpId");
  walk.writer.Uint(device);
  walk.writer.Key("timeMark");
  walk.writer.String(timeMark);
  walk.writer.Key("values");
  walk.writer.StartArray();
  for (const auto& [dataId, point] : points) {
    if (!WritePoint(walk, dataId)) return dataId;
  }
  walk.writer.EndArray();
  walk.writer.EndObject();
  usleep(kDevicePauseMicroseconds);
  return std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> WriteRealDataDocument(const RealDataHeader& header,
                                                   const MAP_GROUP_ATTR& catalogue,
                                                   const Real_Data_Struct& values,
                                                   rapidjson::StringBuffer& text) {
  Writer writer(text);
  Walk walk{writer, values.begin(), values.end()};
  writer.StartObject();
  writer.Key("sn");
  RAPIDJSON_ASSERT(header.serial != nullptr);  // the writer itself would read through it
  writer.String(header.serial);
  writer.Key("data");
  writer.StartArray();
  for (const auto& [channel, devices] : catalogue) {
    if (channel != kChannelLeftOut) {
      for (const auto& [device, points] : devices) {
        const auto missing = WriteDevice(walk, channel, device, points, header.timeMark);
        if (missing) return missing;
      }
    }
    usleep(kChannelPauseMicroseconds);
  }
  writer.EndArray();
  writer.EndObject();
  return std::nullopt;
}
