#include "plant.h"

#include <filesystem>
#include <fstream>

#include "util/text.h"

namespace {

constexpr std::size_t kDevicesPerChannel = 10;
constexpr char kDefinition[] = "/tessel/Config/devices/meter.xml";
constexpr char kTemplate[] = "/tessel/Config/Channel-template-%zu.xml";

std::string DefinitionText() {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DevConfig>\n  <NodeProperty>\n";
  text += util::Format("    <AI Num=\"%zu\">\n", kPointsPerDevice);
  for (std::size_t node = 0; node < kPointsPerDevice; ++node) {
    text += util::Format("      <Node Id=\"%zu\" Name=\"Measured value %zu\" EUUnits=\"kWh\"/>\n",
                         node, node);
  }
  return text + "    </AI>\n  </NodeProperty>\n</DevConfig>\n";
}

std::string TemplateText(std::size_t devices) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ChannelConfig>\n";
  for (std::size_t i = 0; i < devices; ++i) {
    if (i % kDevicesPerChannel == 0) {
      text += util::Format("  <Channel No=\"%zu\">\n", 1 + i / kDevicesPerChannel);
    }
    text += util::Format(
        "    <Dev Name=\"%s\" Protocol=\"ModbusRTU\" Desc=\"Meter\" SlaveId=\"%zu\" "
        "Group=\"1\"/>\n",
        kDefinition, 1 + i % kDevicesPerChannel);
    if ((i + 1) % kDevicesPerChannel == 0 || i + 1 == devices) text += "  </Channel>\n";
  }
  return text + "</ChannelConfig>\n";
}

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
  constexpr std::size_t kStep = 7919;  // a prime: neighbours differ
  return static_cast<double>(place * kStep % 1'000'000) / 1000.0;
}

Real_Data_Struct PlantValues(const std::vector<std::uint32_t>& points) {
  Real_Data_Struct values;
  for (std::size_t i = 0; i < points.size(); ++i) values.emplace(points[i], PlantValue(i));
  return values;
}

std::string WritePlantFiles(std::size_t devices) {
  std::string path = util::Format(kTemplate, devices);
  WriteFile(kDefinition, DefinitionText());
  WriteFile(path, TemplateText(devices));
  return path;
}

void WriteFile(const std::string& path, std::string_view content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string SizeText(std::int64_t number, const char* unit) {
  return util::Format("%lld %s%s", static_cast<long long>(number), unit, number == 1 ? "" : "s");
}
