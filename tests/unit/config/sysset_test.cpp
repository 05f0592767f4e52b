// The system file as a document, the version file, the address in use.
#include "config/sysset.h"

#include <ostream>
#include <string>
#include <vector>

#include "support/clock.h"
#include "support/configs.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/paths.h"

namespace {

using SystemSettings = test::GatewayTest;
using test::LogRecord;

TEST_F(SystemSettings, AnUnreadableFileIsAnErrorThatNamesIt) {
  CSysSet settings;

  EXPECT_EQ(settings.Open("/tessel/Config/absent.xml"), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "parsed /tessel/Config/absent.xml failed"}}));
  EXPECT_FALSE(settings.IsOpen());
}

TEST_F(SystemSettings, AMalformedFileIsAnError) {
  test::WriteFile(paths::kSystemFile, "<sysConfig><cloud></sysConfig>");
  CSysSet settings;

  EXPECT_EQ(settings.Open(paths::kSystemFile), -1);

  EXPECT_EQ(test::TextLog("ERROR"),
            std::vector<std::string>{"parsed /tessel/Config/sys.xml failed"});
}

TEST_F(SystemSettings, AnEmptyFileIsAnError) {
  test::WriteFile(paths::kSystemFile, "");
  CSysSet settings;

  EXPECT_EQ(settings.Open(paths::kSystemFile), -1);
}

TEST_F(SystemSettings, AnotherRootIsLoggedAndLeavesEveryValueZero) {
  test::WriteFile(paths::kSystemFile, "<other><cloud checked=\"1\" port=\"81\"/></other>");
  CSysSet settings;
  testing::internal::CaptureStderr();

  EXPECT_EQ(settings.Open(paths::kSystemFile), 0);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/tessel/Config/sys.xml: line 1: the root is not sysConfig\n");
  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "SysConfigXml document,root is not sysConfig."}}));
  EXPECT_EQ(settings.GetCloudConfigAttr()->checked, 0);
  EXPECT_EQ(settings.GetCloudConfigAttr()->port, 0);
  EXPECT_STREQ(settings.GetRealIpAddress(), "");
  EXPECT_FALSE(settings.IsOpen());
}

TEST_F(SystemSettings, LoadingWithoutADocumentIsAnError) {
  CSysSet settings;

  EXPECT_EQ(settings.LoadNodeFromXml(), -1);

  EXPECT_EQ(test::TextLog(), (std::vector<LogRecord>{{"ERROR", "SysConfigXml document is null"}}));
}

TEST_F(SystemSettings, ADocumentWithoutARootIsLoggedAndFreed) {
  test::SysXml().Cloud("checked", "1").Write();
  CSysSet settings;
  test::FailCalls(test::Call::kXmlRoot);

  EXPECT_EQ(settings.Open(paths::kSystemFile), 0);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "SysConfigXml document,Empty document."}}));
  EXPECT_EQ(settings.GetCloudConfigAttr()->checked, 0);
  EXPECT_FALSE(settings.IsOpen());
}

TEST_F(SystemSettings, CloseFreesTheDocumentAndKeepsTheValues) {
  test::SysXml().Cloud("port", "8080").Write();
  CSysSet settings;
  settings.Open(paths::kSystemFile);
  ASSERT_TRUE(settings.IsOpen());

  EXPECT_EQ(settings.Close(), 0);

  EXPECT_FALSE(settings.IsOpen());
  EXPECT_EQ(settings.GetCloudConfigAttr()->port, 8080);
  EXPECT_EQ(settings.Close(), -1);
}

TEST_F(SystemSettings, TakesOverTheDescriptionOfTheGateway) {
  test::SysXml()
      .Info("station", {{"stationName", "North"}, {"longitude", "104.06"}, {"latitude", "30.67"}})
      .Info("rooms", {{"roomName", "泵房"}, {"desc", "ground floor"}})
      .Info("baseInfo", {{"gatewayName", "GW-7"}, {"address", "1 Mill Lane"}})
      .Info("owner", {{"ownerName", "Waterworks"}, {"desc", "municipal"}})
      .Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  const ST_GATEWAY_INFO* info = settings.GetGateWayAttr();
  EXPECT_STREQ(info->stationName, "North");
  EXPECT_STREQ(info->longitude, "104.06");
  EXPECT_STREQ(info->latitude, "30.67");
  EXPECT_STREQ(info->roomName, "泵房");
  EXPECT_STREQ(info->roomDesc, "ground floor");
  EXPECT_STREQ(info->gateWayName, "GW-7");
  EXPECT_STREQ(info->address, "1 Mill Lane");
  EXPECT_STREQ(info->ownerName, "Waterworks");
  EXPECT_STREQ(info->ownerDesc, "municipal");
}

TEST_F(SystemSettings, AnAbsentDescriptionLeavesItsFieldAndARepeatedOneOverwrites) {
  test::SysXml()
      .Info("station", {{"stationName", "North"}, {"longitude", "104.06"}})
      .Info("station", {{"stationName", "South"}})
      .Info("unknown", {{"stationName", "West"}})
      .Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_STREQ(settings.GetGateWayAttr()->stationName, "South");
  EXPECT_STREQ(settings.GetGateWayAttr()->longitude, "104.06");
  EXPECT_STREQ(settings.GetGateWayAttr()->latitude, "");
}

TEST_F(SystemSettings, ADescriptionKeeps255Characters) {
  test::SysXml().Info("rooms", {{"desc", std::string(300, 'd')}}).Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_EQ(settings.GetGateWayAttr()->roomDesc, std::string(255, 'd'));
}

TEST_F(SystemSettings, HttpsSettingsAreWrittenOnlyWhenPresent) {
  test::WriteFile(paths::kSystemFile,
                  "<sysConfig><cloud>"
                  "<https checked=\"1\" certfile=\"/a.pem\" user=\"u\" password=\"p\"/>"
                  "<https user=\"v\"/></cloud></sysConfig>");
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  const ST_HTTPS_CERT_INFO* https = settings.GetHttpsCertInfo();
  EXPECT_EQ(https->checked, 1);
  EXPECT_STREQ(https->certfile, "/a.pem");
  EXPECT_STREQ(https->user, "v");
  EXPECT_STREQ(https->passwd, "p");
}

struct SwitchRow {
  const char* value;
  int expected;
};

void PrintTo(const SwitchRow& row, std::ostream* out) {
  *out << "checked=\"" << row.value << '"';
}

class HttpsSwitch : public test::GatewayTest, public ::testing::WithParamInterface<SwitchRow> {};

TEST_P(HttpsSwitch, KeepsTheLowEightBitsOfItsNumber) {
  test::WriteFile(paths::kSystemFile, "<sysConfig><cloud><https checked=\"1\"/><https checked=\"" +
                                          std::string(GetParam().value) +
                                          "\"/></cloud></sysConfig>");
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_EQ(settings.GetHttpsCertInfo()->checked, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, HttpsSwitch,
                         ::testing::Values(SwitchRow{"0", 0}, SwitchRow{"256", 0},
                                           SwitchRow{"258", 2}, SwitchRow{"-1", 255},
                                           SwitchRow{"yes", 0}, SwitchRow{"", 0}));

TEST_F(SystemSettings, HttpsTextsAreCutAtTheirFields) {
  test::SysXml()
      .Https("certfile", std::string(200, 'c'))
      .Https("user", std::string(100, 'u'))
      .Https("password", std::string(100, 'p'))
      .Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_EQ(settings.GetHttpsCertInfo()->certfile, std::string(127, 'c'));
  EXPECT_EQ(settings.GetHttpsCertInfo()->user, std::string(63, 'u'));
  EXPECT_EQ(settings.GetHttpsCertInfo()->passwd, std::string(63, 'p'));
}

TEST_F(SystemSettings, TheVersionIsTheFirstLineWithItsLineEnd) {
  test::WriteFile(paths::kVersionFile, "V2.3.1\nsecond line\n");
  test::SysXml().Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_STREQ(settings.GetGateWayAttr()->version, "V2.3.1\n");
}

TEST_F(SystemSettings, TheVersionKeeps99Characters) {
  test::WriteFile(paths::kVersionFile, std::string(150, 'v'));
  CSysSet settings;

  EXPECT_EQ(settings.getVersionInfo(), 0);

  EXPECT_EQ(settings.GetGateWayAttr()->version, std::string(99, 'v'));
}

TEST_F(SystemSettings, AMissingVersionFileIsToldOnStandardOutput) {
  CSysSet settings;

  testing::internal::CaptureStdout();
  const int result = settings.getVersionInfo();

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "/tessel/Config/version/main-version.conf is not exist\n");
  EXPECT_EQ(result, -1);
  EXPECT_STREQ(settings.GetGateWayAttr()->version, "");
}

TEST_F(SystemSettings, TheVersionIsNotReadForADocumentThatIsNone) {
  test::WriteFile(paths::kVersionFile, "V2.3.1\n");
  test::WriteFile(paths::kSystemFile, "<other/>");
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_STREQ(settings.GetGateWayAttr()->version, "");
}

TEST_F(SystemSettings, TheCloudMayMoveTheAddressInUse) {
  CSysSet settings;

  EXPECT_EQ(settings.SetRealIPAddress("10.1.2.3"), 0);

  EXPECT_STREQ(settings.GetRealIpAddress(), "10.1.2.3");
  EXPECT_EQ(test::TextLog(), (std::vector<LogRecord>{{"INFO", "real IP has become 10.1.2.3"}}));
}

TEST_F(SystemSettings, TheAddressInUseIsReplacedWholeAndKeeps63Characters) {
  CSysSet settings;
  settings.SetRealIPAddress(std::string(80, 'h').c_str());
  EXPECT_EQ(settings.GetRealIpAddress(), std::string(63, 'h'));

  settings.SetRealIPAddress("a");

  EXPECT_STREQ(settings.GetRealIpAddress(), "a");
}

TEST_F(SystemSettings, NoAddressIsRefusedWithoutAWord) {
  CSysSet settings;
  settings.SetRealIPAddress("10.1.2.3");
  test::DiscardLogs();

  EXPECT_EQ(settings.SetRealIPAddress(nullptr), -1);

  EXPECT_STREQ(settings.GetRealIpAddress(), "10.1.2.3");
  EXPECT_EQ(test::TextLog(), std::vector<LogRecord>{});
}

TEST_F(SystemSettings, TheProcessHasOneObject) {
  EXPECT_EQ(&GetCSysSetInstance(), &GetCSysSetInstance());
}

}  // namespace
