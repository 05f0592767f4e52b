// The print-outs of the system settings.
#include <string>

#include "config/sysset.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

using SettingsPrintOut = test::GatewayTest;

constexpr char kCloudText[] =
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
    "isCompress = 1\n"
    "******************************************\n";

constexpr char kGatewayText[] =
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
    "******************************************\n";

constexpr char kHttpsText[] =
    "*************** HTTPS Cert Info ***************\n"
    "checked=1\n"
    "certfile=/a.pem\n"
    "user = u\n"
    "passwd=p\n"
    "******************************************\n";

void LoadAll(CSysSet& settings) {
  test::WriteFile(paths::kVersionFile, "V1\n");
  test::SysXml()
      .Cloud("checked", "1")
      .Cloud("cloudip", "127.0.0.9")
      .Cloud("port", "8080")
      .Cloud("Dir", "/cloud")
      .Cloud("RealDataInv", "-1")
      .Cloud("AlarmDataInv", "1")
      .Cloud("HeartInterval", "1")
      .Cloud("FailInterval", "1")
      .Cloud("RecallInterval", "-5")
      .Cloud("IsCompress", "1")
      .Https("checked", "1")
      .Https("certfile", "/a.pem")
      .Https("user", "u")
      .Https("password", "p")
      .Info("station", {{"stationName", "S"}, {"longitude", "1"}, {"latitude", "2"}})
      .Info("rooms", {{"roomName", "R"}, {"desc", "RD"}})
      .Info("baseInfo", {{"gatewayName", "G"}, {"address", "A"}})
      .Info("owner", {{"ownerName", "O"}, {"desc", "OD"}})
      .Write();
  settings.Open(paths::kSystemFile);
}

TEST_F(SettingsPrintOut, ShowsTheCloudRecord) {
  CSysSet settings;
  LoadAll(settings);

  testing::internal::CaptureStdout();
  const int result = settings.ShowCloudConfig(settings.GetCloudConfigAttr());

  EXPECT_EQ(testing::internal::GetCapturedStdout(), kCloudText);
  EXPECT_EQ(result, 0);
}

TEST_F(SettingsPrintOut, ShowsItsOwnCloudRecordAfterItsAddress) {
  CSysSet settings;
  LoadAll(settings);
  const void* address = settings.GetCloudConfigAttr();

  testing::internal::CaptureStdout();
  const int result = settings.ShowCloudConfig();

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            util::Format("The address of m_cloudConfigInfo is %p\n", address) + kCloudText);
  EXPECT_EQ(result, 0);
}

TEST_F(SettingsPrintOut, ShowsTheGatewayRecord) {
  CSysSet settings;
  LoadAll(settings);

  testing::internal::CaptureStdout();
  const int result = settings.ShowGateWayInfo(settings.GetGateWayAttr());

  EXPECT_EQ(testing::internal::GetCapturedStdout(), kGatewayText);
  EXPECT_EQ(result, 0);
}

TEST_F(SettingsPrintOut, ShowsItsOwnGatewayRecordAfterItsAddress) {
  CSysSet settings;
  LoadAll(settings);
  const void* address = settings.GetGateWayAttr();

  testing::internal::CaptureStdout();
  const int result = settings.ShowGateWayInfo();

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            util::Format("The address of m_gateWayInfo is %p\n", address) + kGatewayText);
  EXPECT_EQ(result, 0);
}

TEST_F(SettingsPrintOut, ShowsTheHttpsRecordInBothForms) {
  CSysSet settings;
  LoadAll(settings);

  testing::internal::CaptureStdout();
  EXPECT_EQ(settings.ShowHttpsCertInfo(settings.GetHttpsCertInfo()), 0);
  EXPECT_EQ(settings.ShowHttpsCertInfo(), 0);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(kHttpsText) + kHttpsText);
}

TEST_F(SettingsPrintOut, RefusesMissingRecords) {
  CSysSet settings;

  testing::internal::CaptureStdout();
  EXPECT_EQ(settings.ShowCloudConfig(nullptr), -1);
  EXPECT_EQ(settings.ShowGateWayInfo(nullptr), -1);
  EXPECT_EQ(settings.ShowHttpsCertInfo(nullptr), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Err,The Pointer of CloudConfigInfo is NULL\n"
            "Err,The Pointer of GateWayInfo is NULL\n");
}

}  // namespace
