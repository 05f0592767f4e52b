// What the configuration classes print to standard output.
#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "config/channelset.h"
#include "config/sysset.h"
#include "util/text.h"

namespace {

// What the call prints. The call must return `result`.
std::string Printed(int result, const std::function<int()>& call) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(call(), result);
  return testing::internal::GetCapturedStdout();
}

class PrintOut : public ::testing::Test {
 protected:
  CSysSet settings;
  CChannelSet catalogue;
};

TEST_F(PrintOut, ShowsTheCloudRecord) {
  const ST_CLOUDSERVER_CONFIG_ATTR cloud{1,  "127.0.0.9", 8080, "/cloud", -1, 10,
                                         60, 30,          -5,   "json",   2};

  EXPECT_EQ(Printed(0, [&] { return settings.ShowCloudConfig(&cloud); }),
            "*************** Cloud Config Info ***************\n"
            "checked=1\n"
            "cloudip=127.0.0.9,port = 8080\n"
            "Dir=/cloud\n"
            "RealDataInv=-1 \n"
            "AlarmDataInv = 10\n"
            "HeartBeatInv = 60\n"
            "CheckFailInv = 30\n"
            "RecallInv = -5\n"
            "filetype = json\n"
            "isCompress = 2\n"
            "******************************************\n");
}

TEST_F(PrintOut, ShowsTheGatewayRecord) {
  const ST_GATEWAY_INFO info{"S", "V1\n", "R", "RD", "G", "A", "O", "OD", "1", "2"};

  EXPECT_EQ(Printed(0, [&] { return settings.ShowGateWayInfo(&info); }),
            "*************** GateWay Info ***************\n"
            "stationName=S\n"
            "version = V1\n"
            "\n"
            "roomName=R\n"
            "roomDesc=RD\n"
            "gateWayName=G\n"
            "address=A\n"
            "ownerName=O\n"
            "ownerDesc=OD\n"
            "longitude=1,latitude =2\n"
            "******************************************\n");
}

TEST_F(PrintOut, ShowsTheHttpsRecord) {
  const ST_HTTPS_CERT_INFO https{1, "/a.pem", "u", "p"};

  EXPECT_EQ(Printed(0, [&] { return settings.ShowHttpsCertInfo(&https); }),
            "*************** HTTPS Cert Info ***************\n"
            "checked=1\n"
            "certfile=/a.pem\n"
            "user = u\n"
            "passwd=p\n"
            "******************************************\n");
}

TEST_F(PrintOut, ShowsItsOwnRecordsWithTheirAddress) {
  const auto* cloud = settings.GetCloudConfigAttr();
  const auto* info = settings.GetGateWayAttr();

  EXPECT_EQ(
      Printed(0, [&] { return settings.ShowCloudConfig(); }),
      util::Format("The address of m_cloudConfigInfo is %p\n", static_cast<const void*>(cloud)) +
          Printed(0, [&] { return settings.ShowCloudConfig(cloud); }));
  EXPECT_EQ(Printed(0, [&] { return settings.ShowGateWayInfo(); }),
            util::Format("The address of m_gateWayInfo is %p\n", static_cast<const void*>(info)) +
                Printed(0, [&] { return settings.ShowGateWayInfo(info); }));
  EXPECT_EQ(Printed(0, [&] { return settings.ShowHttpsCertInfo(); }),
            Printed(0, [&] { return settings.ShowHttpsCertInfo(settings.GetHttpsCertInfo()); }));
}

TEST_F(PrintOut, ShowsAPointAndTheTreeOfPoints) {
  const ST_POINTID_ATTR point{"Level", 1, 3, 1, 291, 0x01031123, "m"};
  catalogue.AddSamplePoint(point);
  MAP_GROUP_ATTR* groups = nullptr;
  catalogue.GetAttr(&groups);
  const std::string line =
      "Name = Level,GroupNo = 1,DevId = 3,type = 1,NodeId = 291,db_link = 01031123,EUUnits = m\n";

  EXPECT_EQ(Printed(0, [&] { return catalogue.ShowSamplePointInfo(&point); }), line);
  EXPECT_EQ(Printed(0, [&] { return catalogue.ShowSamplePointInfo(groups); }),
            "Group Number = 1\n    |Dev Number = 3\n        |" + line);
}

TEST_F(PrintOut, ShowsADeviceAndTheListOfDevices) {
  const ST_DEV_ATTR device{"/d.xml", "Modbus", "Pump", 3, 5, 1};
  catalogue.AddDev(device);
  MAP_DEV_ATTR* devices = nullptr;
  catalogue.GetAttr(&devices);
  const std::string lines =
      "       Name=/d.xml\n"
      "       Protocol=Modbus\n"
      "       Desc=Pump\n"
      "       SlaveId=3\n"
      "       GroupNo=5\n"
      "       ChannelNo=1\n";

  EXPECT_EQ(Printed(0, [&] { return catalogue.ShowDevInfo(&device); }), lines);
  EXPECT_EQ(Printed(0, [&] { return catalogue.ShowDevInfo(devices); }), "DevNo = 0103\n" + lines);
}

TEST_F(PrintOut, RefusesANullRecordOrMap) {
  const MAP_GROUP_ATTR* groups = nullptr;
  const ST_POINTID_ATTR* point = nullptr;
  const ST_DEV_ATTR* device = nullptr;
  const MAP_DEV_ATTR* devices = nullptr;

  EXPECT_EQ(Printed(-1, [&] { return settings.ShowCloudConfig(nullptr); }),
            "Err,The Pointer of CloudConfigInfo is NULL\n");
  EXPECT_EQ(Printed(-1, [&] { return settings.ShowGateWayInfo(nullptr); }),
            "Err,The Pointer of GateWayInfo is NULL\n");
  EXPECT_EQ(Printed(-1, [&] { return settings.ShowHttpsCertInfo(nullptr); }), "");
  EXPECT_EQ(Printed(-1, [&] { return catalogue.ShowSamplePointInfo(groups); }), "");
  EXPECT_EQ(Printed(-1, [&] { return catalogue.ShowSamplePointInfo(point); }),
            "ShowSamplePointInfo(ST_POINTID_ATTR *p) err,pointer is NULL\n");
  EXPECT_EQ(Printed(-1, [&] { return catalogue.ShowDevInfo(device); }),
            "ShowDevInfo(ST_DEV_ATTR *p),err,pointer is null\n");
  EXPECT_EQ(Printed(-1, [&] { return catalogue.ShowDevInfo(devices); }),
            "ShowDevInfo(MAP_DEV_ATTR *p),err,pointer is null\n");
}

}  // namespace
