#include "support/catalogue.h"

#include "support/world.h"

namespace fuzz {

void CheckCatalogue(CChannelSet& catalogue) {
  MAP_DEV_ATTR* devices = nullptr;
  MAP_GROUP_ATTR* groups = nullptr;
  MAP_POINT_ATTR* points = nullptr;
  catalogue.GetAttr(&devices);
  catalogue.GetAttr(&groups);
  catalogue.GetAttr(&points);

  for (const auto& [number, device] : *devices) {
    Expect(number == ComposeDeviceNumber(device.ChannelNo, device.SlaveId),
           "a device stands under its number");
    Expect(IsTerminated(device.Name) && IsTerminated(device.Protocol) && IsTerminated(device.Desc),
           "a device's texts are terminated");
  }
  for (const auto& [dataId, point] : *points) {
    Expect(dataId == point.db_link, "a point stands under its identifier");
    Expect(IsTerminated(point.Name) && IsTerminated(point.EUUnits),
           "a point's texts are terminated");
    Expect((*groups)[point.GroupNo][point.DevId].count(dataId) == 1,
           "a point stands with its device");
  }
}

}  // namespace fuzz
