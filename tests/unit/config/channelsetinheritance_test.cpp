// What the channel template and the definition files leave out, or give as no number.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "config/channelset.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "templatefiles.h"
#include "util/paths.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Key;

using Inheritance = test::GatewayTest;
using test::DataIds;
using test::Definition;
using test::Devices;
using test::kDefinitionFile;
using test::OpenDevice;
using test::OpenText;
using test::Point;

TEST_F(Inheritance, ADeviceInheritsWhatItLeavesOut) {
  CChannelSet catalogue;
  OpenText(catalogue,
           "<ChannelConfig>"
           "<Channel No=\"4\"><Dev Name=\"a\" Protocol=\"P\" Desc=\"D\" SlaveId=\"1\" Group=\"6\"/>"
           "</Channel>"
           "<Channel><Dev SlaveId=\"2\"/></Channel></ChannelConfig>");

  const ST_DEV_ATTR& second = Devices(catalogue).at(0x0402);

  EXPECT_STREQ(second.Name, "a");
  EXPECT_STREQ(second.Protocol, "P");
  EXPECT_STREQ(second.Desc, "D");
  EXPECT_EQ(second.GroupNo, 6);
}

TEST_F(Inheritance, TheFirstDeviceInheritsNothing) {
  CChannelSet catalogue;

  OpenText(catalogue, "<ChannelConfig><Channel><Dev/></Channel></ChannelConfig>");

  const ST_DEV_ATTR& device = Devices(catalogue).at(0);
  EXPECT_STREQ(device.Name, "");
  EXPECT_STREQ(device.Protocol, "");
  EXPECT_EQ(device.GroupNo, 0);
}

TEST_F(Inheritance, ADeviceWithoutAnAddressReplacesTheDeviceBefore) {
  CChannelSet catalogue;

  OpenText(catalogue,
           "<ChannelConfig><Channel No=\"4\"><Dev SlaveId=\"5\" Desc=\"old\"/>"
           "<Dev Desc=\"new\"/></Channel></ChannelConfig>");

  ASSERT_EQ(Devices(catalogue).size(), 1U);
  EXPECT_STREQ(Devices(catalogue).at(0x0405).Desc, "new");
}

TEST_F(Inheritance, APointInheritsWhatItLeavesOutAlsoAcrossTypes) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<AI><Node Id=\"1\" Name=\"N\" EUUnits=\"V\"/></AI>"
                                   "<DI><Node Id=\"2\"/></DI>"));

  EXPECT_STREQ(Point(catalogue, 0x01030102).Name, "N");
  EXPECT_STREQ(Point(catalogue, 0x01030102).EUUnits, "V");
}

TEST_F(Inheritance, APointWithoutANumberReplacesThePointBefore) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<AI><Node Id=\"1\" Name=\"old\"/><Node Name=\"new\"/></AI>"));

  EXPECT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01030001});
  EXPECT_STREQ(Point(catalogue, 0x01030001).Name, "new");
}

TEST_F(Inheritance, TheFirstPointOfAFileInheritsNothingFromAnotherFile) {
  CChannelSet catalogue;
  test::DeviceFile("a").Node("AI", 1, "A", "V").Write();
  test::WriteFile("/tessel/Config/devices/b.xml", Definition("<AI><Node Id=\"1\"/></AI>"));
  test::ChannelTemplate()
      .Channel(1)
      .Device(1, test::DeviceFile("a").Path())
      .Device(2, "/tessel/Config/devices/b.xml")
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_STREQ(Point(catalogue, 0x01020001).Name, "");
}

TEST_F(Inheritance, APointWithoutANumberReplacesThePointOfTheTypeBefore) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<AI><Node Id=\"1\" Name=\"level\"/></AI>"
                                   "<DI><Node Name=\"n\"/></DI>"));

  ASSERT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01030001});
  const ST_POINTID_ATTR point = Point(catalogue, 0x01030001);
  EXPECT_STREQ(point.Name, "n");
  EXPECT_EQ(point.type, 1);
  EXPECT_EQ(std::uint16_t{point.NodeId}, 1);
  EXPECT_EQ(std::uint32_t{point.db_link}, 0x01030001U);
}

TEST_F(Inheritance, TheFirstPointOfAFileWithoutANumberHasNoneAndTheIdentifierZero) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<DI><Node Name=\"n\"/></DI>"));

  ASSERT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0});
  const ST_POINTID_ATTR point = Point(catalogue, 0);
  EXPECT_STREQ(point.Name, "n");
  EXPECT_EQ(point.GroupNo, 1);
  EXPECT_EQ(point.DevId, 3);
  EXPECT_EQ(point.type, 1);
  EXPECT_EQ(std::uint16_t{point.NodeId}, 0);
  EXPECT_EQ(std::uint32_t{point.db_link}, 0U);
}

TEST_F(Inheritance, APointWithoutANumberReplacesNoPointOfAnotherFile) {
  CChannelSet catalogue;
  test::DeviceFile("a").Node("AI", 1, "A").Write();
  test::WriteFile(kDefinitionFile, Definition("<AI><Node Name=\"B\"/></AI>"));
  test::ChannelTemplate()
      .Channel(1)
      .Device(1, test::DeviceFile("a").Path())
      .Device(2, kDefinitionFile)
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_EQ(DataIds(catalogue), (std::vector<std::uint32_t>{0, 0x01010001}));
  EXPECT_STREQ(Point(catalogue, 0x01010001).Name, "A");
}

// A number that is none is no missing one: it reads as 0 and is not inherited.
class NoNumber : public test::GatewayTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(NoNumber, ForAChannelIsZero) {
  CChannelSet catalogue;

  OpenText(catalogue,
           "<ChannelConfig><Channel No=\"4\"><Dev SlaveId=\"5\"/></Channel>"
           "<Channel No=\"" +
               std::string(GetParam()) + "\"><Dev/></Channel></ChannelConfig>");

  ASSERT_THAT(Devices(catalogue), ElementsAre(Key(0x0005), Key(0x0405)));
  EXPECT_EQ(Devices(catalogue).at(0x0005).ChannelNo, 0);
}

TEST_P(NoNumber, ForAnAddressIsZero) {
  CChannelSet catalogue;

  OpenText(catalogue, "<ChannelConfig><Channel No=\"4\"><Dev SlaveId=\"5\"/><Dev SlaveId=\"" +
                          std::string(GetParam()) + "\"/></Channel></ChannelConfig>");

  ASSERT_THAT(Devices(catalogue), ElementsAre(Key(0x0400), Key(0x0405)));
  EXPECT_EQ(Devices(catalogue).at(0x0400).SlaveId, 0);
}

TEST_P(NoNumber, ForAGroupIsZero) {
  CChannelSet catalogue;

  OpenText(catalogue,
           "<ChannelConfig><Channel No=\"4\"><Dev SlaveId=\"5\" Group=\"6\"/>"
           "<Dev SlaveId=\"7\" Group=\"" +
               std::string(GetParam()) + "\"/></Channel></ChannelConfig>");

  EXPECT_EQ(Devices(catalogue).at(0x0405).GroupNo, 6);
  EXPECT_EQ(Devices(catalogue).at(0x0407).GroupNo, 0);
}

TEST_P(NoNumber, ForAPointIsZero) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<DI><Node Id=\"291\"/><Node Id=\"" + std::string(GetParam()) +
                                   "\"/></DI>"));

  EXPECT_EQ(DataIds(catalogue), (std::vector<std::uint32_t>{0x01030100, 0x01031123}));
  EXPECT_EQ(std::uint16_t{Point(catalogue, 0x01030100).NodeId}, 0);
}

INSTANTIATE_TEST_SUITE_P(Texts, NoNumber, ::testing::Values("x", "", " ", "-", "x7"));

}  // namespace
