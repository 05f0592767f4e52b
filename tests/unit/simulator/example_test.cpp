// The example configuration of the package, as it stands on a gateway.
#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "acquisition/plant.h"
#include "config/channelset.h"
#include "config/sysset.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

using ::testing::SizeIs;

class ExamplePlant : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    std::filesystem::copy(std::string(BRENNIK_EXAMPLE_DIR) + "/Config", "/tessel/Config",
                          std::filesystem::copy_options::recursive);
    m_plant = ReadPlant(paths::kChannelTemplate).value_or(Plant());
  }

  Plant m_plant;
};

TEST_F(ExamplePlant, HasTwelveDevicesAndPointsOfEveryType) {
  std::set<PointType> types;
  for (const auto& [dataId, point] : m_plant.points) types.insert(point.type);

  EXPECT_THAT(m_plant.unreadableDefinitions, ::testing::IsEmpty());
  EXPECT_THAT(m_plant.devices, SizeIs(12));
  EXPECT_THAT(types, SizeIs(5));
}

TEST_F(ExamplePlant, HasTheSamePointsForTheServiceAsForTheAcquisitionSide) {
  using Row = std::tuple<std::uint32_t, int, std::string, std::string>;
  CChannelSet catalogue;
  ASSERT_EQ(catalogue.Open(paths::kChannelTemplate), 0);
  MAP_POINT_ATTR* points = nullptr;
  ASSERT_EQ(catalogue.GetAttr(&points), 0);

  std::vector<Row> service;
  for (const auto& [dataId, point] : *points) {
    service.emplace_back(dataId, point.type, point.Name, point.EUUnits);
  }
  std::vector<Row> acquisition;
  for (const auto& [dataId, point] : m_plant.points) {
    acquisition.emplace_back(dataId, static_cast<int>(point.type), point.name, point.unit);
  }
  EXPECT_THAT(service, ::testing::ElementsAreArray(acquisition));
}

TEST_F(ExamplePlant, SwitchesTheServiceOn) {
  CSysSet settings;

  ASSERT_EQ(settings.Open(paths::kSystemFile), 0);

  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = *settings.GetCloudConfigAttr();
  EXPECT_EQ(cloud.checked, 1);
  EXPECT_STREQ(cloud.cloudip, "127.0.0.1");
  EXPECT_EQ(cloud.port, 8080);
  EXPECT_STREQ(cloud.Dir, "/cloud");
  EXPECT_EQ(cloud.RealDataInv, 60);
  EXPECT_STREQ(cloud.filetype, "json");
}

}  // namespace
