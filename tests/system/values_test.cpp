// Which points and values reach the document.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "cloud/archive.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/text.h"

namespace {

using test::ChannelTemplate;
using test::DeviceFile;

constexpr char kTimeMark[] = "2024-03-07 12:05:00";

// The service starts at 12:04:30, well before the cycle of 12:05:00, which is over at 12:05:20.
class Values : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_server.Port()).Write();
  }

  // The document of the cycle of 12:05:00.
  std::string PackedDocument() {
    test::ServiceProcess service(At(12, 4, 30));
    service.RunUntil(At(12, 5, 20));
    const std::string file = test::DataFilePath(test::RealDataName(At(12, 5)));
    return test::Exists(file) ? cloud::ReadArchive(test::ReadFile(file)).text : "no file";
  }

  test::CloudServer m_server;
};

TEST_F(Values, OfEveryPointStandInTheDocument) {
  const Segment segment(test::ExampleValues());

  EXPECT_EQ(PackedDocument(), test::ExampleDocument(kTimeMark));
}

TEST_F(Values, MayStandInTheSegmentInAnyOrder) {
  auto values = test::ExampleValues();
  std::reverse(values.begin(), values.end());
  const Segment segment(values);

  EXPECT_EQ(PackedDocument(), test::ExampleDocument(kTimeMark));
}

TEST_F(Values, OfUnknownPointsAreLeftOut) {
  auto values = test::ExampleValues();
  values.insert(values.begin(), {0x00000001, 7});
  values.insert(values.begin() + 3, {0x01040208, 8});
  values.push_back({0xFF0104FF, 9});
  const Segment segment(values);

  EXPECT_EQ(PackedDocument(), test::ExampleDocument(kTimeMark));
}

TEST_F(Values, OfAPointThatStandsTwiceAreTheFirst) {
  auto values = test::ExampleValues();
  for (const auto& value : test::ExampleValues()) values.push_back({value.dataId, -1});
  const Segment segment(values);

  EXPECT_EQ(PackedDocument(), test::ExampleDocument(kTimeMark));
}

TEST_F(Values, OfChannel193AreLeftOut) {
  const DeviceFile device = DeviceFile("device").Node("AI", 1);
  device.Write();
  ChannelTemplate()
      .Channel(192)
      .Device(1, device.Path())
      .Channel(193)
      .Device(2, device.Path())
      .Channel(194)
      .Device(3, device.Path())
      .Write();
  const Segment segment({{0xC0010001, 1}, {0xC1020001, 2}, {0xC2030001, 3}});

  EXPECT_EQ(PackedDocument(),
            R"({"sn":"TS20240117","data":[)"
            R"({"groupId":192,"eqpId":1,"timeMark":"2024-03-07 12:05:00","values":[)"
            R"({"pointId":"0001","value":"1.000"}]},)"
            R"({"groupId":194,"eqpId":3,"timeMark":"2024-03-07 12:05:00","values":[)"
            R"({"pointId":"0001","value":"3.000"}]}]})");
}

TEST_F(Values, OfChannel193MayBeMissing) {
  const DeviceFile device = DeviceFile("device").Node("AI", 1);
  device.Write();
  ChannelTemplate().Channel(193).Device(2, device.Path()).Write();
  const Segment segment({{0x01030001, 1}});

  EXPECT_EQ(PackedDocument(), test::EmptyDocument());
}

TEST_F(Values, OfAPlantWithoutChannelsAreAnEmptyList) {
  test::WriteEmptyPlant();
  const Segment segment(test::ExampleValues());

  EXPECT_EQ(PackedDocument(), test::EmptyDocument());
}

TEST_F(Values, OfADeviceWithAnUnusableDefinitionFileAreLeftOut) {
  const DeviceFile sound = DeviceFile("sound").Node("AI", 1);
  sound.Write();
  test::WriteFile("/tessel/Config/devices/broken.xml", "<DevConfig><NodeProp");
  ChannelTemplate()
      .Channel(1)
      .Device(1, "/tessel/Config/devices/broken.xml")
      .Device(2, sound.Path())
      .Write();
  const Segment segment({{0x01010001, 1}, {0x01020001, 2}});

  EXPECT_EQ(PackedDocument(),
            R"({"sn":"TS20240117","data":[)"
            R"({"groupId":1,"eqpId":2,"timeMark":"2024-03-07 12:05:00","values":[)"
            R"({"pointId":"0001","value":"2.000"}]}]})");
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"),
            std::vector<std::string>{"[LoadDevPointAttr]: parsed Parse failed"});
}

TEST_F(Values, KeepFourteenCharacters) {
  const DeviceFile device = DeviceFile("device").Node("ACC", 1);
  device.Write();
  ChannelTemplate().Channel(1).Device(1, device.Path()).Write();
  const Segment segment({{0x01010201, 98765432109876.5}});

  EXPECT_EQ(PackedDocument(),
            R"({"sn":"TS20240117","data":[)"
            R"({"groupId":1,"eqpId":1,"timeMark":"2024-03-07 12:05:00","values":[)"
            R"({"pointId":"0201","value":"98765432109876"}]}]})");
}

class MissingValue : public Values, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
  static std::vector<SegmentPoint> AllBut(std::uint32_t dataId) {
    auto values = test::ExampleValues();
    std::erase_if(values, [=](const SegmentPoint& value) { return value.dataId == dataId; });
    return values;
  }
};

TEST_P(MissingValue, MakesNoFileAndNoRow) {
  const Segment segment(AllBut(GetParam()));

  EXPECT_EQ(PackedDocument(), "no file");
  EXPECT_EQ(test::List("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7"), std::vector<std::string>{});
  EXPECT_EQ(test::ReadLedger(), std::vector<test::LedgerRow>{});
}

TEST_P(MissingValue, IsNamedInTheTextLog) {
  const Segment segment(AllBut(GetParam()));

  PackedDocument();

  const std::string message = util::Format(
      "CreateRealDataJsonFile /media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120500.dat "
      "Error, can't find id: %08x",
      GetParam());
  EXPECT_THAT(test::OfLevel(test::ReadTextLog(), "INFO"), ::testing::Contains(message));
  EXPECT_EQ(test::OfLevel(test::ReadDatabaseLog(), "ERROR"), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Values, MissingValue,
                         ::testing::Values(0x01030001, 0x01031123, 0x01040207, 0x02010302,
                                           0x020104AB),
                         [](const auto& row) { return util::Format("Point%08x", row.param); });

TEST_F(Values, ThatWereMissingOnceArePackedInTheNextCycle) {
  auto values = test::ExampleValues();
  values.back().dataId = 0x020104AC;
  Segment segment(values);
  test::ServiceProcess service(At(12, 4, 30));
  service.RunUntil(At(12, 5, 20));

  segment.Write(test::ExampleValues());
  service.RunUntil(At(12, 10, 20));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307121000.tar.gz"}}));
}

TEST_F(Values, AreTakenAtTheBoundary) {
  auto values = test::ExampleValues();
  Segment segment(values);
  test::ServiceProcess service(At(12, 4, 30));
  service.RunUntil(At(12, 4, 59));
  values[0].value = 99;
  segment.Write(values);
  service.RunUntil(At(12, 5, 0));
  values[0].value = 100;
  segment.Write(values);

  service.RunUntil(At(12, 5, 20));

  const std::string file = test::DataFilePath(test::RealDataName(At(12, 5)));
  EXPECT_NE(cloud::ReadArchive(test::ReadFile(file)).text.find(R"("value":"99.000")"),
            std::string::npos);
}

}  // namespace
