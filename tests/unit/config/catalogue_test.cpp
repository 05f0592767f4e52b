// The catalogue's maps: adding, looking up.
#include <string>

#include "config/channelset.h"
#include "support/gateway.h"

namespace {

using Catalogue = test::GatewayTest;

ST_POINTID_ATTR MakePoint(std::uint32_t dataId, char name) {
  ST_POINTID_ATTR point{};
  point.Name[0] = name;
  point.GroupNo = static_cast<std::uint8_t>(dataId >> 24);
  point.DevId = static_cast<std::uint8_t>(dataId >> 16);
  point.db_link = dataId;
  return point;
}

TEST_F(Catalogue, APointStandsInBothMaps) {
  CChannelSet catalogue;

  EXPECT_EQ(catalogue.AddSamplePoint(MakePoint(0x01031123, 'a')), 0);

  MAP_GROUP_ATTR* groups = nullptr;
  MAP_POINT_ATTR* points = nullptr;
  EXPECT_EQ(catalogue.GetAttr(&groups), 0);
  EXPECT_EQ(catalogue.GetAttr(&points), 0);
  EXPECT_STREQ(groups->at(1).at(3).at(0x01031123).Name, "a");
  EXPECT_STREQ(points->at(0x01031123).Name, "a");
}

TEST_F(Catalogue, ALaterPointReplacesTheEarlierInBothMaps) {
  CChannelSet catalogue;
  catalogue.AddSamplePoint(MakePoint(0x01031123, 'a'));

  catalogue.AddSamplePoint(MakePoint(0x01031123, 'b'));

  MAP_GROUP_ATTR* groups = nullptr;
  catalogue.GetAttr(&groups);
  ST_POINTID_ATTR* point = nullptr;
  ASSERT_EQ(catalogue.GetAttr(0x01031123U, &point), 0);
  EXPECT_STREQ(point->Name, "b");
  EXPECT_STREQ(groups->at(1).at(3).at(0x01031123).Name, "b");
}

TEST_F(Catalogue, ADeviceIsFoundByChannelAndAddress) {
  CChannelSet catalogue;
  ST_DEV_ATTR added{};
  added.ChannelNo = 0x12;
  added.SlaveId = 0x34;
  added.Name[0] = 'd';

  EXPECT_EQ(catalogue.AddDev(added), 0);

  ST_DEV_ATTR* device = nullptr;
  MAP_DEV_ATTR* devices = nullptr;
  EXPECT_EQ(catalogue.GetAttr(static_cast<unsigned short>(0x1234), &device), 0);
  EXPECT_EQ(catalogue.GetAttr(&devices), 0);
  EXPECT_STREQ(device->Name, "d");
  EXPECT_EQ(&devices->at(0x1234), device);
}

TEST_F(Catalogue, LookUpsPointIntoTheCatalogue) {
  CChannelSet catalogue;
  catalogue.AddSamplePoint(MakePoint(1, 'a'));
  ST_POINTID_ATTR* before = nullptr;
  catalogue.GetAttr(1U, &before);

  for (std::uint32_t dataId = 2; dataId < 100; ++dataId) {
    catalogue.AddSamplePoint(MakePoint(dataId, 'b'));
  }

  ST_POINTID_ATTR* after = nullptr;
  catalogue.GetAttr(1U, &after);
  EXPECT_EQ(before, after);
}

TEST_F(Catalogue, AnUnknownPointIsToldOnStandardOutput) {
  CChannelSet catalogue;
  ST_POINTID_ATTR* point = nullptr;

  testing::internal::CaptureStdout();
  const int result = catalogue.GetAttr(0xABCDU, &point);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can not find DataId 0000abcd's Attr \n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(point, nullptr);
}

TEST_F(Catalogue, AnUnknownDeviceIsToldOnStandardOutput) {
  CChannelSet catalogue;
  ST_DEV_ATTR* device = nullptr;

  testing::internal::CaptureStdout();
  const int result = catalogue.GetAttr(static_cast<unsigned short>(0xAB), &device);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Can not find Device 00ab's Attr\n");
  EXPECT_EQ(result, -1);
}

TEST_F(Catalogue, AMissingOutputIsRefusedWithoutAWord) {
  CChannelSet catalogue;

  testing::internal::CaptureStdout();
  EXPECT_EQ(catalogue.GetAttr(1U, nullptr), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<unsigned short>(1), nullptr), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_GROUP_ATTR**>(nullptr)), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_DEV_ATTR**>(nullptr)), -1);
  EXPECT_EQ(catalogue.GetAttr(static_cast<MAP_POINT_ATTR**>(nullptr)), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Catalogue, TheProcessHasOneObject) {
  EXPECT_EQ(&GetCChannelSetInstance(), &GetCChannelSetInstance());
}

}  // namespace
