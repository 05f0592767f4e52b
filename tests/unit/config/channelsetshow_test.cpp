// The print-outs of the catalogue.
#include <string>

#include "config/channelset.h"
#include "support/gateway.h"
#include "util/text.h"

namespace {

using CataloguePrintOut = test::GatewayTest;

ST_POINTID_ATTR MakePoint() {
  ST_POINTID_ATTR point{};
  util::CopyText(point.Name, "Level");
  point.GroupNo = 1;
  point.DevId = 3;
  point.type = 1;
  point.NodeId = 291;
  point.db_link = 0x01031123;
  util::CopyText(point.EUUnits, "m");
  return point;
}

ST_DEV_ATTR MakeDevice() {
  ST_DEV_ATTR device{};
  util::CopyText(device.Name, "/d.xml");
  util::CopyText(device.Protocol, "Modbus");
  util::CopyText(device.Desc, "Pump");
  device.SlaveId = 3;
  device.GroupNo = 5;
  device.ChannelNo = 1;
  return device;
}

constexpr char kDeviceLines[] =
    "       Name=/d.xml\n"
    "       Protocol=Modbus\n"
    "       Desc=Pump\n"
    "       SlaveId=3\n"
    "       GroupNo=5\n"
    "       ChannelNo=1\n";

TEST_F(CataloguePrintOut, ShowsAPointOnOneLine) {
  const CChannelSet catalogue;
  const ST_POINTID_ATTR point = MakePoint();

  testing::internal::CaptureStdout();
  const int result = catalogue.ShowSamplePointInfo(&point);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Name = Level,GroupNo = 1,DevId = 3,type = 1,NodeId = 291,db_link = 01031123,"
            "EUUnits = m\n");
  EXPECT_EQ(result, 0);
}

TEST_F(CataloguePrintOut, ShowsTheGroupMapAsATree) {
  CChannelSet catalogue;
  catalogue.AddSamplePoint(MakePoint());
  MAP_GROUP_ATTR* groups = nullptr;
  catalogue.GetAttr(&groups);

  testing::internal::CaptureStdout();
  const int result = catalogue.ShowSamplePointInfo(groups);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Group Number = 1\n"
            "    |Dev Number = 3\n"
            "        |Name = Level,GroupNo = 1,DevId = 3,type = 1,NodeId = 291,"
            "db_link = 01031123,EUUnits = m\n");
  EXPECT_EQ(result, 0);
}

TEST_F(CataloguePrintOut, ShowsNothingOfAnEmptyMap) {
  const CChannelSet catalogue;
  const MAP_GROUP_ATTR groups;

  testing::internal::CaptureStdout();
  const int result = catalogue.ShowSamplePointInfo(&groups);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(result, 0);
}

TEST_F(CataloguePrintOut, ShowsADevice) {
  const CChannelSet catalogue;
  const ST_DEV_ATTR device = MakeDevice();

  testing::internal::CaptureStdout();
  const int result = catalogue.ShowDevInfo(&device);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), kDeviceLines);
  EXPECT_EQ(result, 0);
}

TEST_F(CataloguePrintOut, ShowsTheDeviceMapByNumber) {
  CChannelSet catalogue;
  catalogue.AddDev(MakeDevice());
  MAP_DEV_ATTR* devices = nullptr;
  catalogue.GetAttr(&devices);

  testing::internal::CaptureStdout();
  const int result = catalogue.ShowDevInfo(devices);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string("DevNo = 0103\n") + kDeviceLines);
  EXPECT_EQ(result, 0);
}

TEST_F(CataloguePrintOut, RefusesMissingRecordsAndMaps) {
  const CChannelSet catalogue;

  testing::internal::CaptureStdout();
  EXPECT_EQ(catalogue.ShowSamplePointInfo(static_cast<const ST_POINTID_ATTR*>(nullptr)), -1);
  EXPECT_EQ(catalogue.ShowSamplePointInfo(static_cast<const MAP_GROUP_ATTR*>(nullptr)), -1);
  EXPECT_EQ(catalogue.ShowDevInfo(static_cast<const ST_DEV_ATTR*>(nullptr)), -1);
  EXPECT_EQ(catalogue.ShowDevInfo(static_cast<const MAP_DEV_ATTR*>(nullptr)), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ShowSamplePointInfo(ST_POINTID_ATTR *p) err,pointer is NULL\n"
            "ShowDevInfo(ST_DEV_ATTR *p),err,pointer is null\n"
            "ShowDevInfo(MAP_DEV_ATTR *p),err,pointer is null\n");
}

}  // namespace
