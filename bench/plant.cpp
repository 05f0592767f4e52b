#include "plant.h"

#include "util/text.h"

namespace {

constexpr std::size_t kPointsPerDevice = 100;
constexpr std::size_t kDevicesPerChannel = 10;

}  // namespace

std::vector<std::uint32_t> PlantPoints(std::size_t points) {
  std::vector<std::uint32_t> dataIds;
  dataIds.reserve(points);
  for (std::size_t i = 0; i < points; ++i) {
    const std::size_t device = i / kPointsPerDevice;
    dataIds.push_back(ComposeDataId(static_cast<std::uint8_t>(1 + device / kDevicesPerChannel),
                                    static_cast<std::uint8_t>(1 + device % kDevicesPerChannel), 0,
                                    static_cast<std::uint16_t>(i % kPointsPerDevice)));
  }
  return dataIds;
}

MAP_GROUP_ATTR PlantCatalogue(const std::vector<std::uint32_t>& points) {
  MAP_GROUP_ATTR catalogue;
  for (const std::uint32_t dataId : points) {
    ST_POINTID_ATTR point{};
    util::CopyText(point.Name, "Point");
    point.GroupNo = static_cast<std::uint8_t>(dataId >> 24);
    point.DevId = static_cast<std::uint8_t>(dataId >> 16);
    point.db_link = dataId;
    catalogue[point.GroupNo][point.DevId][dataId] = point;
  }
  return catalogue;
}

double PlantValue(std::size_t place) {
  return 0.125 * static_cast<double>(place);
}

Real_Data_Struct PlantValues(const std::vector<std::uint32_t>& points) {
  Real_Data_Struct values;
  for (std::size_t i = 0; i < points.size(); ++i) values.emplace(points[i], PlantValue(i));
  return values;
}
