// The print-outs of the channel catalogue.
#include <cstdio>

#include "config/channelset.h"

namespace {

// The fields after the name, to the end of the line.
void PrintPointFields(const ST_POINTID_ATTR& point) {
  std::printf("GroupNo = %d,", point.GroupNo);
  std::printf("DevId = %d,", point.DevId);
  std::printf("type = %d,", point.type);
  std::printf("NodeId = %d,", point.NodeId);
  std::printf("db_link = %08x,", point.db_link);
  std::printf("EUUnits = %s\n", point.EUUnits);
}

void PrintDevice(const ST_DEV_ATTR& dev) {
  std::printf("       Name=%s\n", dev.Name);
  std::printf("       Protocol=%s\n", dev.Protocol);
  std::printf("       Desc=%s\n", dev.Desc);
  std::printf("       SlaveId=%d\n", dev.SlaveId);
  std::printf("       GroupNo=%d\n", dev.GroupNo);
  std::printf("       ChannelNo=%d\n", dev.ChannelNo);
}

}  // namespace

int CChannelSet::ShowSamplePointInfo(const ST_POINTID_ATTR* p) const {
  if (p == nullptr) {
    std::puts("ShowSamplePointInfo(ST_POINTID_ATTR *p) err,pointer is NULL");
    return -1;
  }
  std::printf("Name = %s,", p->Name);
  PrintPointFields(*p);
  return 0;
}

int CChannelSet::ShowSamplePointInfo(const MAP_GROUP_ATTR* p) const {
  if (p == nullptr) return -1;
  for (const auto& [channel, devices] : *p) {
    std::printf("Group Number = %d\n", channel);
    for (const auto& [address, points] : devices) {
      std::printf("    |Dev Number = %d\n", address);
      for (const auto& [dataId, point] : points) {
        std::printf("        |Name = %s,", point.Name);
        PrintPointFields(point);
      }
    }
  }
  return 0;
}

int CChannelSet::ShowDevInfo(const ST_DEV_ATTR* p) const {
  if (p == nullptr) {
    std::puts("ShowDevInfo(ST_DEV_ATTR *p),err,pointer is null");
    return -1;
  }
  PrintDevice(*p);
  return 0;
}

int CChannelSet::ShowDevInfo(const MAP_DEV_ATTR* p) const {
  if (p == nullptr) {
    std::puts("ShowDevInfo(MAP_DEV_ATTR *p),err,pointer is null");
    return -1;
  }
  for (const auto& [number, dev] : *p) {
    std::printf("DevNo = %04x\n", number);
    PrintDevice(dev);
  }
  return 0;
}
