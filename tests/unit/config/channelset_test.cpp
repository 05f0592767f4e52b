#include "config/channelset.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/clock.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

using namespace std::chrono_literals;
using namespace testing;

constexpr char kDefinitionFile[] = "/tessel/Config/devices/d.xml";
constexpr char kOtherFile[] = "/tessel/Config/devices/e.xml";

class Catalogue : public test::GatewayTest {
 protected:
  // Loads a template with these elements.
  void LoadTemplate(const std::string& elements) {
    test::WriteFile(paths::kChannelTemplate, "<ChannelConfig>" + elements + "</ChannelConfig>");
    EXPECT_EQ(catalogue.Open(paths::kChannelTemplate), 0);
  }

  static void WriteDefinition(const std::string& types, const char* path = kDefinitionFile) {
    test::WriteFile(path, "<DevConfig><NodeProperty>" + types + "</NodeProperty></DevConfig>");
  }

  // Loads device 3 on channel 1 with these point-type elements.
  void LoadPoints(const std::string& types) {
    WriteDefinition(types);
    test::ChannelTemplate().Channel(1).Device(3, kDefinitionFile).Write();
    EXPECT_EQ(catalogue.Open(paths::kChannelTemplate), 0);
  }

  // One of the catalogue's maps.
  template <typename Map>
  const Map& Get() {
    Map* map = nullptr;
    EXPECT_EQ(catalogue.GetAttr(&map), 0);
    return *map;
  }
  const MAP_POINT_ATTR& Points() { return Get<MAP_POINT_ATTR>(); }
  const MAP_DEV_ATTR& Devices() { return Get<MAP_DEV_ATTR>(); }

  CChannelSet catalogue;
};

TEST_F(Catalogue, HoldsADeviceAlsoWithoutItsDefinitionFile) {
  LoadTemplate(
      "<Channel No='7'><Dev Name='/none.xml' Protocol='Modbus' Desc='泵' SlaveId='9'"
      " Group='5'/></Channel>");

  ASSERT_THAT(Devices(), ElementsAre(Key(0x0709)));
  const ST_DEV_ATTR& device = Devices().at(0x0709);
  EXPECT_STREQ(device.Name, "/none.xml");
  EXPECT_STREQ(device.Protocol, "Modbus");
  EXPECT_STREQ(device.Desc, "泵");
  EXPECT_EQ(device.SlaveId, 9);
  EXPECT_EQ(device.GroupNo, 5);
  EXPECT_EQ(device.ChannelNo, 7);
  EXPECT_THAT(Points(), IsEmpty());
}

TEST_F(Catalogue, HoldsAPointWithTheChannelOfItsDevice) {
  WriteDefinition("<DI Num='99'><Node Id='300' Name='液位' EUUnits='m³'/></DI>");
  test::ChannelTemplate().Channel(7).Device(9, kDefinitionFile, {{"Group", "5"}}).Write();

  catalogue.Open(paths::kChannelTemplate);

  ASSERT_THAT(Points(), ElementsAre(Key(0x0709112C)));
  const ST_POINTID_ATTR& point = Points().at(0x0709112C);
  EXPECT_STREQ(point.Name, "液位");
  EXPECT_STREQ(point.EUUnits, "m³");
  EXPECT_EQ(point.GroupNo, 7);
  EXPECT_EQ(point.DevId, 9);
  EXPECT_EQ(point.type, 1);
  EXPECT_EQ(std::uint16_t{point.NodeId}, 300);
  EXPECT_EQ(std::uint32_t{point.db_link}, 0x0709112CU);
  EXPECT_STREQ(Get<MAP_GROUP_ATTR>().at(7).at(9).at(0x0709112C).Name, "液位");
}

TEST_F(Catalogue, GivesEachElementItsPointType) {
  LoadPoints(
      "<AI><Node Id='1'/></AI><DI><Node Id='1'/></DI><ACC><Node Id='1'/></ACC>"
      "<DO><Node Id='1'/></DO><AO><Node Id='1'/></AO><XX><Node Id='9'/></XX>");

  EXPECT_THAT(Points(), ElementsAre(Key(0x01030001), Key(0x01030101), Key(0x01030201),
                                    Key(0x01030301), Key(0x01030401)));
}

TEST_F(Catalogue, CutsNumbersToTheirFieldsAndNodesTo4095) {
  WriteDefinition("<AI><Node Id='65537'/><Node Id='4097' Name='last'/></AI>");

  LoadTemplate("<Channel No='257'><Dev Name='" + std::string(kDefinitionFile) +
               "' SlaveId='258' Group='259'/></Channel>");

  ASSERT_THAT(Points(), ElementsAre(Key(0x01020001)));
  EXPECT_STREQ(Points().at(0x01020001).Name, "last");
  EXPECT_EQ(Devices().at(0x0102).GroupNo, 3);
}

TEST_F(Catalogue, Keeps126CharactersOfATextAndAPath) {
  const std::string text(200, 'x');
  const std::string kept(126, 'x');
  WriteDefinition("<AI><Node Id='1' Name='" + text + "' EUUnits='" + text + "'/></AI>");
  test::ChannelTemplate()
      .Channel(1)
      .Device(3, kDefinitionFile, {{"Protocol", text}, {"Desc", text}})
      .Device(4, text)
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_EQ(Points().at(0x01030001).Name, kept);
  EXPECT_EQ(Points().at(0x01030001).EUUnits, kept);
  EXPECT_EQ(Devices().at(0x0103).Protocol, kept);
  EXPECT_EQ(Devices().at(0x0103).Desc, kept);
  EXPECT_EQ(Devices().at(0x0104).Name, kept);
}

TEST_F(Catalogue, SkipsOtherElements) {
  test::WriteFile(kDefinitionFile,
                  "<DevConfig><Other><AI><Node Id='7'/></AI></Other><NodeProperty>"
                  "<AI><Other Id='8'/><Node Id='1' More='2'/></AI></NodeProperty></DevConfig>");

  LoadTemplate("<Other><Dev SlaveId='9'/></Other><Channel No='1'><Other SlaveId='8'/><Dev Name='" +
               std::string(kDefinitionFile) + "' SlaveId='3' More='1'/></Channel>");

  EXPECT_THAT(Points(), ElementsAre(Key(0x01030001)));
  EXPECT_THAT(Devices(), ElementsAre(Key(0x0103)));
}

TEST_F(Catalogue, PausesAfterEveryDeviceAndEveryElementOfTheRoot) {
  test::ForgetPauses();

  LoadTemplate(
      "<Channel No='1'><Dev SlaveId='1'/><Dev SlaveId='2'/></Channel><!-- no element -->"
      "<Other/><Channel No='2'/>");

  EXPECT_EQ(test::Pauses(), std::vector<test::Pause>(5, 100ms));
}

TEST_F(Catalogue, KeepsThePointsOfBothDevicesWithOneNumber) {
  WriteDefinition("<AI><Node Id='1'/></AI>");
  WriteDefinition("<AI><Node Id='2'/></AI>", kOtherFile);
  test::ChannelTemplate().Channel(1).Device(3, kDefinitionFile).Device(3, kOtherFile).Write();

  catalogue.Open(paths::kChannelTemplate);

  ASSERT_THAT(Devices(), ElementsAre(Key(0x0103)));
  EXPECT_STREQ(Devices().at(0x0103).Name, kOtherFile);
  EXPECT_THAT(Points(), ElementsAre(Key(0x01030001), Key(0x01030002)));
}

TEST_F(Catalogue, LetsADeviceInheritWhatItLeavesOut) {
  LoadTemplate(
      "<Channel><Dev/></Channel><Channel No='4'><Dev SlaveId='1' Name='a' Protocol='P' "
      "Desc='D' Group='6'/>"
      "<Dev Desc='E'/></Channel><Channel><Dev SlaveId='2'/></Channel>");

  ASSERT_THAT(Devices(), ElementsAre(Key(0), Key(0x0401), Key(0x0402)));
  EXPECT_STREQ(Devices().at(0).Name, "") << "the first device has nothing to inherit";
  EXPECT_STREQ(Devices().at(0x0401).Desc, "E") << "without an address: replaces the one before";
  EXPECT_STREQ(Devices().at(0x0402).Name, "a");
  EXPECT_STREQ(Devices().at(0x0402).Protocol, "P");
  EXPECT_STREQ(Devices().at(0x0402).Desc, "E");
  EXPECT_EQ(Devices().at(0x0402).GroupNo, 6);
}

TEST_F(Catalogue, LetsAPointInheritWhatItLeavesOut) {
  LoadPoints(
      "<AI><Node Id='1' Name='N' EUUnits='V'/></AI>"
      "<DI><Node Id='2'/><Node Name='new'/></DI><DO><Node/></DO>");

  ASSERT_THAT(Points(), ElementsAre(Key(0x01030001), Key(0x01030102)));
  const ST_POINTID_ATTR& point = Points().at(0x01030102);
  EXPECT_STREQ(point.Name, "new") << "a point without a number replaces the one before";
  EXPECT_STREQ(point.EUUnits, "V");
  EXPECT_EQ(point.type, 3) << "also one of another type";
  EXPECT_EQ(std::uint16_t{point.NodeId}, 2);
}

TEST_F(Catalogue, StartsTheFirstPointOfEachFileFromZero) {
  WriteDefinition("<AI><Node Id='1' Name='A'/></AI>");
  WriteDefinition("<DI><Node EUUnits='V'/></DI>", kOtherFile);
  test::ChannelTemplate().Channel(1).Device(1, kDefinitionFile).Device(2, kOtherFile).Write();

  catalogue.Open(paths::kChannelTemplate);

  ASSERT_THAT(Points(), ElementsAre(Key(0), Key(0x01010001)));
  const ST_POINTID_ATTR& point = Points().at(0);
  EXPECT_STREQ(point.Name, "");
  EXPECT_EQ(point.GroupNo, 1);
  EXPECT_EQ(point.DevId, 2);
  EXPECT_EQ(point.type, 1);
}

TEST_F(Catalogue, ReadsAnAttributeWithoutANumberAsZero) {
  WriteDefinition("<DI><Node Id='291'/><Node Id=''/></DI>");

  LoadTemplate("<Channel No='4'><Dev Name='" + std::string(kDefinitionFile) +
               "' SlaveId='5' Group='6'/></Channel>"
               "<Channel No='x'><Dev SlaveId='' Group='x7'/></Channel>");

  ASSERT_THAT(Devices(), ElementsAre(Key(0x0000), Key(0x0405)));
  EXPECT_EQ(Devices().at(0).GroupNo, 0);
  EXPECT_THAT(Points(),
              ElementsAre(Key(0x00000100), Key(0x00001123), Key(0x04050100), Key(0x04051123)));
}

TEST_F(Catalogue, KeepsItsMapsAfterClose) {
  LoadPoints("<AI><Node Id='1'/></AI>");
  EXPECT_EQ(catalogue.IsOpen(), 0);

  EXPECT_EQ(catalogue.Close(), 0);

  EXPECT_EQ(catalogue.Close(), -1);
  EXPECT_EQ(catalogue.IsOpen(), -1);
  EXPECT_THAT(Points(), ElementsAre(Key(0x01030001)));
}

TEST_F(Catalogue, LooksRecordsUpAndReportsAnUnknownKeyOnStandardOutput) {
  ST_POINTID_ATTR point{};
  point.db_link = 0xABCD;
  ST_DEV_ATTR device{};
  device.SlaveId = 0xAB;
  ST_POINTID_ATTR* foundPoint = nullptr;
  ST_DEV_ATTR* foundDevice = nullptr;
  constexpr unsigned short kDevice = 0x00AB;
  testing::internal::CaptureStdout();

  EXPECT_EQ(catalogue.GetAttr(0xABCDU, &foundPoint), -1);
  EXPECT_EQ(catalogue.GetAttr(kDevice, &foundDevice), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Can not find DataId 0000abcd's Attr \nCan not find Device 00ab's Attr\n");
  EXPECT_EQ(foundPoint, nullptr);

  EXPECT_EQ(catalogue.AddSamplePoint(point), 0);
  EXPECT_EQ(catalogue.AddDev(device), 0);
  EXPECT_EQ(catalogue.GetAttr(0xABCDU, &foundPoint), 0);
  EXPECT_EQ(catalogue.GetAttr(kDevice, &foundDevice), 0);
  EXPECT_EQ(foundPoint, &Points().at(0xABCD));
  EXPECT_EQ(foundDevice, &Devices().at(0x00AB));
}

TEST_F(Catalogue, RefusesANullOutputSilently) {
  testing::internal::CaptureStdout();

  EXPECT_EQ(catalogue.GetAttr(1U, nullptr), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<unsigned short>(1), nullptr), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_GROUP_ATTR**>(nullptr)), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_DEV_ATTR**>(nullptr)), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_POINT_ATTR**>(nullptr)), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
