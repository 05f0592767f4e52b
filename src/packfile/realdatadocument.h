// The JSON document of a real-data file, compact, keys in this order:
//   {"sn":…,"data":[{"groupId":channel,"eqpId":device,"timeMark":"YYYY-MM-DD hh:mm:ss",
//     "values":[{"pointId":"four hexadecimal digits","value":"three decimals"},…]},…]}
// Channels, devices and points stand in rising order.
#pragma once

#include <cstdint>
#include <optional>

#include "config/channelrecords.h"
#include "packfile/fields.h"
#include "packfile/records.h"

inline constexpr std::uint8_t kChannelLeftOut = 193;  // deliberate: never part of a real-data file

struct RealDataHeader {
  const char* serial;    // the gateway's serial number
  const char* timeMark;  // the same in every device
};

// Writes the document of every point of the catalogue, except those of channel 193, into `text`. It
// pauses 100 ms after every device and 500 ms after every channel, 193 included. Returns the first
// DataId that `values` lacks, which leaves `text` incomplete, or nothing when all is written.
std::optional<std::uint32_t> WriteRealDataDocument(const RealDataHeader& header,
                                                   const MAP_GROUP_ATTR& catalogue,
                                                   const Real_Data_Struct& values,
                                                   rapidjson::StringBuffer& text);
