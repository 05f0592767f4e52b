// The records of the channel catalogue, and the make-up of a point identifier.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory_resource>

#pragma pack(push, 1)

// One field device: a `Dev` element of the channel template.
struct ST_DEV_ATTR {
  char Name[128];          // path of its definition file
  char Protocol[128];      // text, not interpreted
  char Desc[128];          // description
  std::uint8_t SlaveId;    // bus address on its channel
  std::uint8_t GroupNo;    // attribute `Group`; stored and shown, not part of a key
  std::uint8_t ChannelNo;  // attribute `No` of the enclosing channel
};
static_assert(sizeof(ST_DEV_ATTR) == 387);
static_assert(offsetof(ST_DEV_ATTR, Protocol) == 128);
static_assert(offsetof(ST_DEV_ATTR, Desc) == 256);
static_assert(offsetof(ST_DEV_ATTR, SlaveId) == 384);
static_assert(offsetof(ST_DEV_ATTR, GroupNo) == 385);
static_assert(offsetof(ST_DEV_ATTR, ChannelNo) == 386);

// One sample point: a `Node` element of a device-definition file.
struct ST_POINTID_ATTR {
  char Name[128];         // point name
  std::uint8_t GroupNo;   // channel number: the device's ChannelNo, deliberately not its GroupNo
  std::uint8_t DevId;     // the device's SlaveId
  std::uint8_t type;      // 0 AI, 1 DI, 2 ACC, 3 DO, 4 AO
  std::uint16_t NodeId;   // attribute `Id`, low 16 bits
  std::uint32_t db_link;  // point identifier (DataId)
  char EUUnits[128];      // engineering unit
};
static_assert(sizeof(ST_POINTID_ATTR) == 265);
static_assert(offsetof(ST_POINTID_ATTR, GroupNo) == 128);
static_assert(offsetof(ST_POINTID_ATTR, DevId) == 129);
static_assert(offsetof(ST_POINTID_ATTR, type) == 130);
static_assert(offsetof(ST_POINTID_ATTR, NodeId) == 131);
static_assert(offsetof(ST_POINTID_ATTR, db_link) == 133);
static_assert(offsetof(ST_POINTID_ATTR, EUUnits) == 137);

#pragma pack(pop)

// The point identifier (DataId), by which the gateway and the acquisition side name a sample point:
//   bits 31-24 channel | 23-16 device address | 15-12 node bits 11-8 | 11-8 type | 7-0 node bits
//   7-0
// Node numbers above 4095 have the same identifiers as lower ones.
constexpr std::uint32_t ComposeDataId(std::uint8_t channel, std::uint8_t device, std::uint8_t type,
                                      std::uint16_t node) {
  return (std::uint32_t{channel} << 24) | (std::uint32_t{device} << 16) |
         ((std::uint32_t{node} & 0x0F00U) << 4) | (std::uint32_t{type} << 8) |
         (std::uint32_t{node} & 0x00FFU);
}
static_assert(ComposeDataId(1, 3, 1, 0x123) == 0x01031123);

// The device number: the high 16 bits of the identifiers of the device's points.
constexpr std::uint16_t ComposeDeviceNumber(std::uint8_t channel, std::uint8_t device) {
  return static_cast<std::uint16_t>((channel << 8) | device);
}

// The maps of the catalogue, which says where their memory comes from.
// DataId -> point
using MAP_POINT_ATTR = std::pmr::map<std::uint32_t, ST_POINTID_ATTR>;
// Device address -> its points
using MAP_DEV_POINT_ATTR = std::pmr::map<std::uint8_t, MAP_POINT_ATTR>;
// Channel number -> its devices
using MAP_GROUP_ATTR = std::pmr::map<std::uint8_t, MAP_DEV_POINT_ATTR>;
// Device number -> device
using MAP_DEV_ATTR = std::pmr::map<std::uint16_t, ST_DEV_ATTR>;
