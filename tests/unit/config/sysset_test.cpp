#include "config/sysset.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/configs.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/paths.h"

namespace {

constexpr char kDefaultAddress[] = BRENNIK_DEFAULT_CLOUD_IP;

class SysSet : public test::GatewayTest {
 protected:
  void Load(const test::SysXml& xml) { LoadText(xml.Text()); }
  void LoadText(const std::string& text) {
    test::WriteFile(paths::kSystemFile, text);
    EXPECT_EQ(settings.Open(paths::kSystemFile), 0);
  }

  CSysSet settings;
  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = *settings.GetCloudConfigAttr();
  const ST_GATEWAY_INFO& info = *settings.GetGateWayAttr();
  const ST_HTTPS_CERT_INFO& https = *settings.GetHttpsCertInfo();
};

struct CloudRow {
  const char* attribute;
  std::string absent;                                        // stored without the attribute
  std::vector<std::pair<std::string, std::string>> present;  // value, stored
};

void PrintTo(const CloudRow& row, std::ostream* out) {
  *out << row.attribute;
}

class CloudAttribute : public SysSet, public ::testing::WithParamInterface<CloudRow> {
 protected:
  std::string Stored(const std::string& attribute) const {
    const std::map<std::string, std::string> fields = {
        {"cloudip", cloud.cloudip},
        {"port", std::to_string(cloud.port)},
        {"checked", std::to_string(cloud.checked)},
        {"Dir", cloud.Dir},
        {"RealDataInv", std::to_string(cloud.RealDataInv)},
        {"AlarmDataInv", std::to_string(cloud.AlarmDataInv)},
        {"HeartInterval", std::to_string(cloud.HeartBeatInv)},
        {"FailInterval", std::to_string(cloud.CheckFailInv)},
        {"RecallInterval", std::to_string(cloud.RecallInv)},
        {"FileType", cloud.filetype},
        {"IsCompress", std::to_string(cloud.isCompress)}};
    return fields.at(attribute);
  }
};

TEST_P(CloudAttribute, FollowsItsRule) {
  const auto& [attribute, absent, present] = GetParam();
  Load(test::SysXml());
  EXPECT_EQ(Stored(attribute), absent);

  for (const auto& [value, stored] : present) {
    Load(test::SysXml().Cloud(attribute, value));
    EXPECT_EQ(Stored(attribute), stored) << '"' << value << '"';
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, CloudAttribute,
    ::testing::ValuesIn<std::vector<CloudRow>>(
        {{"cloudip", kDefaultAddress, {{std::string(80, 'i'), std::string(63, 'i')}}},
         {"port", "80", {{" 81x", "81"}, {"text", "0"}, {"", "0"}, {"70000", "4464"}}},
         {"checked", "0", {{"257", "1"}, {"-1", "255"}}},
         {"Dir", "", {{std::string(80, 'd'), std::string(63, 'd')}}},
         {"RealDataInv",
          "300",
          {{"59", "300"}, {"60", "60"}, {"-1", "-1"}, {"70000", "4464"}, {"65595", "300"}}},
         {"AlarmDataInv", "30", {{"9", "10"}, {"11", "11"}, {"-1", "10"}, {"40000", "10"}}},
         {"HeartInterval", "600", {{"59", "60"}, {"61", "61"}}},
         {"FailInterval", "60", {{"29", "30"}, {"31", "31"}}},
         {"RecallInterval", "-1", {{"1", "60"}, {"61", "61"}, {"0", "0"}, {"-5", "-5"}}},
         {"FileType", "json", {{std::string(20, 't'), std::string(15, 't')}}},
         {"IsCompress", "0", {{"258", "2"}}}}));

TEST_F(SysSet, TakesTheDefaultsForARepeatedCloudElement) {
  LoadText(
      "<sysConfig><!-- c --><other port=\"1\"/><cloud cloudip=\"127.0.0.9\" port=\"81\" Dir=\"/x\">"
      "</cloud><cloud RealDataInv=\"70\"/></sysConfig>");

  EXPECT_STREQ(cloud.cloudip, kDefaultAddress);
  EXPECT_EQ(cloud.port, 80);
  EXPECT_STREQ(cloud.Dir, "");
  EXPECT_EQ(cloud.RealDataInv, 70);
  EXPECT_STREQ(settings.GetRealIpAddress(), kDefaultAddress);
}

TEST_F(SysSet, DescribesTheGateway) {
  Load(test::SysXml()
           .Info("station", {{"stationName", "N"}, {"longitude", "104"}, {"latitude", "30"}})
           .Info("rooms", {{"roomName", "泵房"}, {"desc", std::string(300, 'd')}})
           .Info("baseInfo", {{"gatewayName", "GW-7"}, {"address", "1 Mill Lane"}})
           .Info("owner", {{"ownerName", "Waterworks"}, {"desc", "municipal"}})
           .Info("station", {{"stationName", "South"}})
           .Info("unknown", {{"stationName", "West"}}));

  EXPECT_STREQ(info.stationName, "South") << "a repeated element overwrites";
  EXPECT_STREQ(info.longitude, "104") << "an absent attribute does not";
  EXPECT_STREQ(info.latitude, "30");
  EXPECT_STREQ(info.roomName, "泵房");
  EXPECT_EQ(info.roomDesc, std::string(255, 'd'));
  EXPECT_STREQ(info.gateWayName, "GW-7");
  EXPECT_STREQ(info.address, "1 Mill Lane");
  EXPECT_STREQ(info.ownerName, "Waterworks");
  EXPECT_STREQ(info.ownerDesc, "municipal");
}

TEST_F(SysSet, StoresTheHttpsAttributesThatArePresent) {
  LoadText("<sysConfig><cloud><other user=\"x\"/><https checked=\"258\" certfile=\"" +
           std::string(200, 'c') + "\" user=\"u\" password=\"" + std::string(100, 'p') +
           "\"/><https user=\"" + std::string(100, 'v') + "\"/></cloud></sysConfig>");

  EXPECT_EQ(https.checked, 2);
  EXPECT_EQ(https.certfile, std::string(127, 'c'));
  EXPECT_EQ(https.user, std::string(63, 'v'));
  EXPECT_EQ(https.passwd, std::string(63, 'p'));
}

TEST_F(SysSet, TakesNothingFromAnotherRoot) {
  test::WriteFile(paths::kVersionFile, "V2.3.1\n");

  LoadText("<other><cloud port=\"81\"/></other>");

  EXPECT_EQ(cloud.port, 0);
  EXPECT_STREQ(settings.GetRealIpAddress(), "");
  EXPECT_STREQ(info.version, "");
}

TEST_F(SysSet, KeepsItsValuesAfterClose) {
  Load(test::SysXml().Cloud("port", "8080"));
  ASSERT_TRUE(settings.IsOpen());

  EXPECT_EQ(settings.Close(), 0);

  EXPECT_EQ(settings.Close(), -1);
  EXPECT_FALSE(settings.IsOpen());
  EXPECT_EQ(cloud.port, 8080);
}

TEST_F(SysSet, Takes99CharactersOfTheVersionFilesFirstLineWithItsEnd) {
  test::WriteFile(paths::kVersionFile, "V2.3.1\nsecond line\n");
  Load(test::SysXml());
  EXPECT_STREQ(info.version, "V2.3.1\n");

  test::WriteFile(paths::kVersionFile, std::string(150, 'v'));
  EXPECT_EQ(settings.getVersionInfo(), 0);
  EXPECT_EQ(info.version, std::string(99, 'v'));
}

TEST_F(SysSet, ReportsAMissingVersionFileAndDoesNotWaitForAPipeInItsPlace) {
  testing::internal::CaptureStdout();

  EXPECT_EQ(settings.getVersionInfo(), -1);
  test::WriteFile("/tessel/Config/version/other", "");
  ASSERT_EQ(mkfifo(paths::kVersionFile, 0600), 0);
  EXPECT_EQ(settings.getVersionInfo(), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "/tessel/Config/version/main-version.conf is not exist\n");
}

TEST_F(SysSet, LogsTheAddressInUseOf63Characters) {
  const std::string kept(63, 'h');
  Load(test::SysXml().Cloud("cloudip", "127.0.0.9"));

  EXPECT_EQ(settings.SetRealIPAddress((kept + 'h').c_str()), 0);
  EXPECT_EQ(settings.SetRealIPAddress(nullptr), -1);

  EXPECT_EQ(settings.GetRealIpAddress(), kept);
  EXPECT_EQ(test::TextLog(),
            (std::vector<test::LogRecord>{{"INFO", "real IP has become 127.0.0.9"},
                                          {"INFO", "real IP has become " + kept}}));
}

}  // namespace
