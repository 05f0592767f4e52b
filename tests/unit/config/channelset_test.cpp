// Loading the channel template and the definition files.
#include "config/channelset.h"

#include <string>
#include <vector>

#include "support/clock.h"
#include "support/configs.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "templatefiles.h"
#include "util/paths.h"

namespace {

using namespace std::chrono_literals;

using Template = test::GatewayTest;
using test::DataIds;
using test::Definition;
using test::Devices;
using test::kDefinitionFile;
using test::LogRecord;
using test::OpenDevice;
using test::OpenText;
using test::Pause;
using test::Point;

TEST_F(Template, ComposesThePointIdentifierAndTheDeviceNumber) {
  CChannelSet catalogue;

  EXPECT_EQ(OpenDevice(catalogue, Definition("<DI><Node Id=\"291\"/></DI>")), 0);

  EXPECT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01031123});
  EXPECT_EQ(Devices(catalogue).begin()->first, 0x0103);
}

TEST_F(Template, GivesEachElementItsPointType) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<AI><Node Id=\"1\"/></AI><DI><Node Id=\"1\"/></DI>"
                                   "<ACC><Node Id=\"1\"/></ACC><DO><Node Id=\"1\"/></DO>"
                                   "<AO><Node Id=\"1\"/></AO><XX><Node Id=\"9\"/></XX>"));

  EXPECT_EQ(DataIds(catalogue), (std::vector<std::uint32_t>{0x01030001, 0x01030101, 0x01030201,
                                                            0x01030301, 0x01030401}));
}

TEST_F(Template, KeepsWhatAPointIs) {
  CChannelSet catalogue;

  OpenDevice(catalogue,
             Definition("<AI Num=\"99\"><Node Id=\"300\" Name=\"液位\" EUUnits=\"m³\"/></AI>"));

  const ST_POINTID_ATTR point = Point(catalogue, 0x0103102C);
  EXPECT_STREQ(point.Name, "液位");
  EXPECT_STREQ(point.EUUnits, "m³");
  EXPECT_EQ(point.GroupNo, 1);
  EXPECT_EQ(point.DevId, 3);
  EXPECT_EQ(point.type, 0);
  EXPECT_EQ(std::uint16_t{point.NodeId}, 300);
  EXPECT_EQ(std::uint32_t{point.db_link}, 0x0103102CU);
}

TEST_F(Template, KeepsWhatADeviceIs) {
  CChannelSet catalogue;
  test::ChannelTemplate()
      .Channel(7)
      .Device(9, "/tessel/none.xml", {{"Protocol", "Modbus"}, {"Desc", "泵"}, {"Group", "5"}})
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  ST_DEV_ATTR* device = nullptr;
  ASSERT_EQ(catalogue.GetAttr(static_cast<unsigned short>(0x0709), &device), 0);
  EXPECT_STREQ(device->Name, "/tessel/none.xml");
  EXPECT_STREQ(device->Protocol, "Modbus");
  EXPECT_STREQ(device->Desc, "泵");
  EXPECT_EQ(device->SlaveId, 9);
  EXPECT_EQ(device->GroupNo, 5);
  EXPECT_EQ(device->ChannelNo, 7);
}

TEST_F(Template, APointTakesItsChannelFromTheDeviceAndNotItsGroup) {
  CChannelSet catalogue;
  test::WriteFile(kDefinitionFile, Definition("<AI><Node Id=\"1\"/></AI>"));
  test::ChannelTemplate().Channel(7).Device(9, kDefinitionFile, {{"Group", "5"}}).Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_EQ(Point(catalogue, 0x07090001).GroupNo, 7);
}

TEST_F(Template, NodeNumbersAbove4095AliasLowerOnesAndTheLaterPointCounts) {
  CChannelSet catalogue;

  OpenDevice(catalogue, Definition("<AI><Node Id=\"0\" Name=\"first\"/>"
                                   "<Node Id=\"4096\" Name=\"second\"/></AI>"));

  EXPECT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01030000});
  EXPECT_STREQ(Point(catalogue, 0x01030000).Name, "second");
}

TEST_F(Template, NumbersAreCutToTheirFields) {
  CChannelSet catalogue;
  test::WriteFile(kDefinitionFile, Definition("<AI><Node Id=\"65537\"/></AI>"));

  OpenText(catalogue, "<ChannelConfig><Channel No=\"257\"><Dev Name=\"" +
                          std::string(kDefinitionFile) +
                          "\" SlaveId=\"258\" Group=\"259\"/></Channel></ChannelConfig>");

  EXPECT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01020001});
  EXPECT_EQ(Devices(catalogue).at(0x0102).GroupNo, 3);
}

TEST_F(Template, TextsKeep126Characters) {
  CChannelSet catalogue;
  const std::string longText(200, 'x');
  test::WriteFile(kDefinitionFile, Definition("<AI><Node Id=\"1\" Name=\"" + longText +
                                              "\" EUUnits=\"" + longText + "\"/></AI>"));
  test::ChannelTemplate()
      .Channel(1)
      .Device(3, kDefinitionFile, {{"Protocol", longText}, {"Desc", longText}})
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  const std::string kept(126, 'x');
  EXPECT_EQ(Point(catalogue, 0x01030001).Name, kept);
  EXPECT_EQ(Point(catalogue, 0x01030001).EUUnits, kept);
  EXPECT_EQ(Devices(catalogue).at(0x0103).Protocol, kept);
  EXPECT_EQ(Devices(catalogue).at(0x0103).Desc, kept);
}

TEST_F(Template, ADevicePathKeeps126Characters) {
  CChannelSet catalogue;
  test::ChannelTemplate().Channel(1).Device(3, "/" + std::string(199, 'n')).Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_EQ(Devices(catalogue).at(0x0103).Name, "/" + std::string(125, 'n'));
}

TEST_F(Template, OfTwoDevicesWithOneNumberTheLaterCountsAndThePointsOfBothAreLoaded) {
  CChannelSet catalogue;
  test::DeviceFile("a").Node("AI", 1).Write();
  test::DeviceFile("b").Node("AI", 2).Write();
  test::ChannelTemplate()
      .Channel(1)
      .Device(3, test::DeviceFile("a").Path())
      .Device(3, test::DeviceFile("b").Path())
      .Write();

  catalogue.Open(paths::kChannelTemplate);

  EXPECT_EQ(Devices(catalogue).size(), 1U);
  EXPECT_EQ(Devices(catalogue).at(0x0103).Name, test::DeviceFile("b").Path());
  EXPECT_EQ(DataIds(catalogue), (std::vector<std::uint32_t>{0x01030001, 0x01030002}));
}

TEST_F(Template, OtherElementsAreSkipped) {
  CChannelSet catalogue;
  test::WriteFile(
      kDefinitionFile,
      "<DevConfig><Other><AI><Node Id=\"7\"/></AI></Other><NodeProperty>"
      "<AI><Other Id=\"8\"/><Node Id=\"1\" More=\"2\"/></AI></NodeProperty></DevConfig>");

  OpenText(catalogue,
           "<ChannelConfig><Other><Dev SlaveId=\"9\"/></Other><Channel No=\"1\"><Other/>"
           "<Dev Name=\"" +
               std::string(kDefinitionFile) +
               "\" SlaveId=\"3\" More=\"1\"/></Channel></ChannelConfig>");

  EXPECT_EQ(DataIds(catalogue), std::vector<std::uint32_t>{0x01030001});
  EXPECT_EQ(Devices(catalogue).size(), 1U);
}

TEST_F(Template, PausesAfterEveryDeviceAndEveryElementOfTheRoot) {
  CChannelSet catalogue;
  test::ForgetPauses();

  OpenText(catalogue,
           "<ChannelConfig><Channel No=\"1\"><Dev SlaveId=\"1\"/><Dev SlaveId=\"2\"/>"
           "</Channel><!-- no element --><Other/><Channel No=\"2\"/></ChannelConfig>");

  EXPECT_EQ(test::Pauses(), std::vector<Pause>(5, 100ms));
}

struct BrokenDefinition {
  const char* text;
  const char* message;
  const char* reason;
};

class BrokenDefinitionFile : public test::GatewayTest,
                             public ::testing::WithParamInterface<BrokenDefinition> {};

TEST_P(BrokenDefinitionFile, IsLoggedAndNamedAndLeavesItsDeviceWithoutPoints) {
  CChannelSet catalogue;
  testing::internal::CaptureStderr();

  EXPECT_EQ(OpenDevice(catalogue, GetParam().text), 0);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            std::string(kDefinitionFile) + ": " + GetParam().reason + "\n");
  EXPECT_EQ(test::TextLog(), (std::vector<LogRecord>{{"ERROR", GetParam().message}}));
  EXPECT_EQ(Devices(catalogue).size(), 1U);
  EXPECT_TRUE(DataIds(catalogue).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BrokenDefinitionFile,
    ::testing::Values(BrokenDefinition{"", "[LoadDevPointAttr]: parsed Parse failed",
                                       "line 1: Document is empty"},
                      BrokenDefinition{"\n<Other/>",
                                       "[LoadDevPointAttr]:  wrong type, root node != DevConfig",
                                       "line 2: the root is not DevConfig"}));

TEST_F(Template, ABrokenDefinitionFileGivesItsLoaderMinusOne) {
  CChannelSet catalogue;
  ST_DEV_ATTR device{};

  EXPECT_EQ(catalogue.LoadDevPointAttr(device), -1);
}

TEST_F(Template, AnUnreadableTemplateIsAnErrorThatNamesIt) {
  CChannelSet catalogue;

  EXPECT_EQ(catalogue.Open("/tessel/absent.xml"), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "Document /tessel/absent.xml parsed failed."}}));
}

TEST_F(Template, AnotherRootIsAnErrorAndFreesTheDocument) {
  CChannelSet catalogue;
  testing::internal::CaptureStderr();

  EXPECT_EQ(OpenText(catalogue, "<Other/>"), -1);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/tessel/Config/Channel-template.xml: line 1: the root is not ChannelConfig\n");
  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{
                {"ERROR", "[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'"}}));
  EXPECT_EQ(catalogue.IsOpen(), -1);
}

TEST_F(Template, ATemplateWithoutARootIsAnErrorAndFreesTheDocument) {
  test::ChannelTemplate().Channel(1).Write();
  CChannelSet catalogue;
  test::FailCalls(test::Call::kXmlRoot);

  EXPECT_EQ(catalogue.Open(paths::kChannelTemplate), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "[LoadChannelParamFromXml]: Empty document."}}));
  EXPECT_EQ(catalogue.IsOpen(), -1);
}

TEST_F(Template, ADefinitionFileWithoutARootIsLogged) {
  CChannelSet catalogue;
  test::FailCalls(test::Call::kXmlRoot, 1, 1);  // the template's own root is found

  EXPECT_EQ(OpenDevice(catalogue, Definition("<AI><Node Id=\"1\"/></AI>")), 0);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "[LoadDevPointAttr]: empty document"}}));
  EXPECT_TRUE(DataIds(catalogue).empty());
}

TEST_F(Template, LoadingWithoutADocumentIsAnError) {
  CChannelSet catalogue;

  EXPECT_EQ(catalogue.LoadNodeFromXml(), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "[LoadChannelParamFromXml]: Xml document is null"}}));
}

TEST_F(Template, IsOpenGivesZeroWhileOpenAndTheMapsOutliveTheDocument) {
  CChannelSet catalogue;
  OpenDevice(catalogue, Definition("<AI><Node Id=\"1\"/></AI>"));
  EXPECT_EQ(catalogue.IsOpen(), 0);

  EXPECT_EQ(catalogue.Close(), 0);

  EXPECT_EQ(catalogue.IsOpen(), -1);
  EXPECT_EQ(catalogue.Close(), -1);
  EXPECT_EQ(DataIds(catalogue).size(), 1U);
}

}  // namespace
