// The example plant as the service reads it, beside the simulator's own reading of it.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "acquisition/plant.h"
#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

using ::testing::ElementsAreArray;

// DataId, type, name, unit.
using Row = std::tuple<std::uint32_t, int, std::string, std::string>;

// What it is for: the example's Config folder, laid down under /tessel, on the tests' clock.
class ExampleOnTheGateway : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    std::filesystem::copy(std::string(BRENNIK_EXAMPLE_DIR) + "/Config", "/tessel/Config",
                          std::filesystem::copy_options::recursive);
  }
};

std::vector<Row> ReadBySimulator() {
  std::vector<Row> rows;
  const auto plant = ReadPlant(paths::kChannelTemplate);
  if (!plant) return rows;
  for (const auto& [dataId, point] : plant->points) {
    rows.emplace_back(dataId, static_cast<int>(point.type), point.name, point.unit);
  }
  return rows;
}

TEST_F(ExampleOnTheGateway, HasTheSamePointsForTheServiceAsForTheAcquisitionSide) {
  CChannelSet catalogue;

  ASSERT_EQ(catalogue.Open(paths::kChannelTemplate), 0);

  MAP_POINT_ATTR* points = nullptr;
  ASSERT_EQ(catalogue.GetAttr(&points), 0);
  std::vector<Row> rows;
  for (const auto& [dataId, point] : *points) {
    rows.emplace_back(dataId, point.type, point.Name, point.EUUnits);
  }
  EXPECT_FALSE(rows.empty());
  EXPECT_THAT(rows, ElementsAreArray(ReadBySimulator()));
}

TEST_F(ExampleOnTheGateway, SwitchesTheServiceOnWithTheIntervalsThatAreWritten) {
  CSysSet settings;

  ASSERT_EQ(settings.Open(paths::kSystemFile), 0);

  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = *settings.GetCloudConfigAttr();
  EXPECT_EQ(cloud.checked, 1);
  EXPECT_STREQ(cloud.cloudip, "127.0.0.1");
  EXPECT_EQ(cloud.port, 8080);
  EXPECT_STREQ(cloud.Dir, "/cloud");
  EXPECT_EQ(cloud.RealDataInv, 60);
  EXPECT_EQ(cloud.AlarmDataInv, 10);
  EXPECT_EQ(cloud.HeartBeatInv, 600);
  EXPECT_EQ(cloud.CheckFailInv, 30);
  EXPECT_EQ(cloud.RecallInv, 60);
  EXPECT_STREQ(cloud.filetype, "json");
}

TEST_F(ExampleOnTheGateway, DescribesTheSiteInBothLanguages) {
  CSysSet settings;

  ASSERT_EQ(settings.Open(paths::kSystemFile), 0);

  const ST_GATEWAY_INFO& site = *settings.GetGateWayAttr();
  EXPECT_STREQ(site.stationName, "青河泵站 Qinghe Pumping Station");
  EXPECT_STREQ(site.version, "V2.4.1\n");
  EXPECT_STREQ(site.latitude, "30.2874");
}

TEST_F(ExampleOnTheGateway, IdentifiesTheGateway) {
  CsnSet identity;

  ASSERT_EQ(identity.Open(paths::kIdentityFile), 0);

  std::uint32_t numeric = 0;
  identity.GetSn(&numeric);
  EXPECT_EQ(identity.GetModel(), 1);
  EXPECT_STREQ(identity.GetSn(), "TS20240117");
  EXPECT_EQ(numeric, 20240117U);
}

}  // namespace
