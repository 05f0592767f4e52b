#include "templatefiles.h"

#include <gtest/gtest.h>

#include "support/configs.h"
#include "support/files.h"
#include "util/paths.h"

namespace test {

std::string Definition(const std::string& types) {
  return "<DevConfig><NodeProperty>" + types + "</NodeProperty></DevConfig>";
}

int OpenText(CChannelSet& catalogue, const std::string& text) {
  WriteFile(paths::kChannelTemplate, text);
  return catalogue.Open(paths::kChannelTemplate);
}

int OpenDevice(CChannelSet& catalogue, const std::string& definition) {
  WriteFile(kDefinitionFile, definition);
  ChannelTemplate().Channel(1).Device(3, kDefinitionFile).Write();
  return catalogue.Open(paths::kChannelTemplate);
}

std::vector<std::uint32_t> DataIds(CChannelSet& catalogue) {
  MAP_POINT_ATTR* points = nullptr;
  catalogue.GetAttr(&points);
  std::vector<std::uint32_t> dataIds;
  for (const auto& [dataId, point] : *points) dataIds.push_back(dataId);
  return dataIds;
}

const MAP_DEV_ATTR& Devices(CChannelSet& catalogue) {
  MAP_DEV_ATTR* devices = nullptr;
  catalogue.GetAttr(&devices);
  return *devices;
}

ST_POINTID_ATTR Point(CChannelSet& catalogue, std::uint32_t dataId) {
  ST_POINTID_ATTR* point = nullptr;
  EXPECT_EQ(catalogue.GetAttr(dataId, &point), 0);
  return point == nullptr ? ST_POINTID_ATTR{} : *point;
}

}  // namespace test
