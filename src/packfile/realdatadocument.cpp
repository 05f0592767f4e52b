#include "packfile/realdatadocument.h"

#include <unistd.h>

namespace {

constexpr unsigned kDevicePauseMicroseconds = 100000;
constexpr unsigned kChannelPauseMicroseconds = 500000;
constexpr std::size_t kBytesPerPoint = 48;  // a point has 44 at most; its device shares the rest

// What lives for the whole document. Catalogue and values are both in rising DataId, so one cursor
// that only moves forward finds every value.
struct Walk {
  DocumentWriter& writer;
  const char* timeMark;
  Real_Data_Struct::const_iterator cursor;
  Real_Data_Struct::const_iterator end;
};

// False when the values run out before the point.
bool FindValue(Walk& walk, std::uint32_t dataId) {
  while (walk.cursor != walk.end && walk.cursor->first != dataId) ++walk.cursor;
  return walk.cursor != walk.end;
}

bool WritePoint(Walk& walk, std::uint32_t dataId) {
  if (!FindValue(walk, dataId)) return false;
  WritePointValue(walk.writer, dataId, walk.cursor->second);
  return true;
}

// The first DataId of the device that has no value, or nothing.
std::optional<std::uint32_t> WriteDevice(Walk& walk, std::uint8_t channel, std::uint8_t device,
                                         const MAP_POINT_ATTR& points) {
  walk.writer.StartObject();
  walk.writer.Key("groupId");
  walk.writer.Uint(channel);
  walk.writer.Key("eqpId");
  walk.writer.Uint(device);
  walk.writer.Key("timeMark");
  walk.writer.String(walk.timeMark);
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

std::optional<std::uint32_t> WriteChannel(Walk& walk, std::uint8_t channel,
                                          const MAP_DEV_POINT_ATTR& devices) {
  for (const auto& [device, points] : devices) {
    if (const auto missing = WriteDevice(walk, channel, device, points)) return missing;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> WriteRealDataDocument(const RealDataHeader& header,
                                                   const MAP_GROUP_ATTR& catalogue,
                                                   const Real_Data_Struct& values,
                                                   rapidjson::StringBuffer& text) {
  text.Reserve(values.size() * kBytesPerPoint);  // a text that outgrows its buffer is copied
  DocumentWriter writer(text);
  Walk walk{writer, header.timeMark, values.begin(), values.end()};
  writer.StartObject();
  WriteSerial(writer, header.serial);
  writer.Key("data");
  writer.StartArray();
  for (const auto& [channel, devices] : catalogue) {
    if (channel != kChannelLeftOut) {
      if (const auto missing = WriteChannel(walk, channel, devices)) return missing;
    }
    usleep(kChannelPauseMicroseconds);
  }
  writer.EndArray();
  writer.EndObject();
  return std::nullopt;
}
