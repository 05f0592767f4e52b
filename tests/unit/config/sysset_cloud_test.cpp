// The attributes of the `cloud` element: what each becomes when it is absent and when it is there.
#include <string>
#include <vector>

#include "config/sysset.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/paths.h"

namespace {

using CloudSettings = test::GatewayTest;

constexpr char kDefaultAddress[] = BRENNIK_DEFAULT_CLOUD_IP;  // as the build configures it

ST_CLOUDSERVER_CONFIG_ATTR Load(const test::SysXml& xml) {
  xml.Write();
  CSysSet settings;
  EXPECT_EQ(settings.Open(paths::kSystemFile), 0);
  return *settings.GetCloudConfigAttr();
}

TEST_F(CloudSettings, WithOnlyAnAddressTakeTheirDefaults) {
  const auto cloud = Load(test::SysXml().Cloud("cloudip", "127.0.0.9"));

  EXPECT_STREQ(cloud.cloudip, "127.0.0.9");
  EXPECT_EQ(cloud.port, 80);
  EXPECT_EQ(cloud.checked, 0);
  EXPECT_STREQ(cloud.Dir, "");
  EXPECT_EQ(cloud.RealDataInv, 300);
  EXPECT_EQ(cloud.AlarmDataInv, 30);
  EXPECT_EQ(cloud.HeartBeatInv, 600);
  EXPECT_EQ(cloud.CheckFailInv, 60);
  EXPECT_EQ(cloud.RecallInv, -1);
  EXPECT_STREQ(cloud.filetype, "json");
  EXPECT_EQ(cloud.isCompress, 0);
}

TEST_F(CloudSettings, WithoutAnAddressGoToTheFixedOne) {
  test::SysXml().Cloud("port", "80").Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_STREQ(settings.GetCloudConfigAttr()->cloudip, kDefaultAddress);
  EXPECT_STREQ(settings.GetRealIpAddress(), kDefaultAddress);
  EXPECT_EQ(test::TextLog("INFO"),
            std::vector<std::string>{std::string("real IP has become ") + kDefaultAddress});
}

TEST_F(CloudSettings, TheConfiguredAddressBecomesTheOneInUse) {
  test::SysXml().Cloud("cloudip", "127.0.0.9").Write();
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  EXPECT_STREQ(settings.GetRealIpAddress(), "127.0.0.9");
  EXPECT_EQ(test::TextLog("INFO"), std::vector<std::string>{"real IP has become 127.0.0.9"});
}

TEST_F(CloudSettings, TextsAreCutAtTheirFields) {
  const auto cloud = Load(test::SysXml()
                              .Cloud("cloudip", std::string(80, 'i'))
                              .Cloud("Dir", std::string(80, 'd'))
                              .Cloud("FileType", std::string(20, 't')));

  EXPECT_EQ(cloud.cloudip, std::string(63, 'i'));
  EXPECT_EQ(cloud.Dir, std::string(63, 'd'));
  EXPECT_EQ(cloud.filetype, std::string(15, 't'));
}

TEST_F(CloudSettings, ARepeatedElementTakesItsDefaultsAgainTheAddressInUseIncluded) {
  test::WriteFile(paths::kSystemFile,
                  "<sysConfig><cloud cloudip=\"127.0.0.9\" port=\"81\" checked=\"1\" Dir=\"/x\"/>"
                  "<cloud RealDataInv=\"60\"/></sysConfig>");
  CSysSet settings;

  settings.Open(paths::kSystemFile);

  const auto* cloud = settings.GetCloudConfigAttr();
  EXPECT_STREQ(cloud->cloudip, kDefaultAddress);
  EXPECT_STREQ(settings.GetRealIpAddress(), kDefaultAddress);
  EXPECT_EQ(cloud->port, 80);
  EXPECT_EQ(cloud->checked, 0);
  EXPECT_STREQ(cloud->Dir, "");
  EXPECT_EQ(cloud->RealDataInv, 60);
}

TEST_F(CloudSettings, UnknownElementsAndAttributesAreIgnored) {
  test::WriteFile(paths::kSystemFile,
                  "<sysConfig><!-- c --><other port=\"1\"/><cloud port=\"81\" Port=\"82\">"
                  "<other certfile=\"x\"/></cloud></sysConfig>");
  CSysSet settings;

  EXPECT_EQ(settings.Open(paths::kSystemFile), 0);

  EXPECT_EQ(settings.GetCloudConfigAttr()->port, 81);
  EXPECT_STREQ(settings.GetHttpsCertInfo()->certfile, "");
}

struct NumberRow {
  const char* attribute;
  const char* value;
  int expected;
};

// So that a failing row shows itself.
void PrintTo(const NumberRow& row, std::ostream* out) {
  *out << row.attribute << "=\"" << row.value << '"';
}

class CloudNumber : public test::GatewayTest, public ::testing::WithParamInterface<NumberRow> {};

int Field(const ST_CLOUDSERVER_CONFIG_ATTR& cloud, const std::string& attribute) {
  if (attribute == "port") return cloud.port;
  if (attribute == "checked") return cloud.checked;
  if (attribute == "RealDataInv") return cloud.RealDataInv;
  if (attribute == "AlarmDataInv") return cloud.AlarmDataInv;
  if (attribute == "HeartInterval") return cloud.HeartBeatInv;
  if (attribute == "FailInterval") return cloud.CheckFailInv;
  if (attribute == "RecallInterval") return cloud.RecallInv;
  return cloud.isCompress;
}

TEST_P(CloudNumber, IsReadByItsRule) {
  const auto cloud = Load(test::SysXml().Cloud(GetParam().attribute, GetParam().value));

  EXPECT_EQ(Field(cloud, GetParam().attribute), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudNumber,
    ::testing::Values(
        NumberRow{"port", "8080", 8080}, NumberRow{"port", "65536", 0},
        NumberRow{"port", "70000", 4464}, NumberRow{"port", "-1", 65535},
        NumberRow{"port", "text", 0}, NumberRow{"port", "", 0}, NumberRow{"port", " 81x", 81},
        NumberRow{"port", "99999999999", 65535},  // 2,147,483,647 cut to 16 bits
        NumberRow{"checked", "1", 1}, NumberRow{"checked", "0", 0}, NumberRow{"checked", "256", 0},
        NumberRow{"checked", "257", 1}, NumberRow{"checked", "-1", 255},
        NumberRow{"RealDataInv", "30", 300}, NumberRow{"RealDataInv", "59", 300},
        NumberRow{"RealDataInv", "60", 60}, NumberRow{"RealDataInv", "0", 300},
        NumberRow{"RealDataInv", "-1", -1},  // passes as 65,535
        NumberRow{"RealDataInv", "70000", 4464}, NumberRow{"RealDataInv", "32768", -32768},
        NumberRow{"RealDataInv", "65595", 300},  // 59 in 16 bits
        NumberRow{"AlarmDataInv", "5", 10}, NumberRow{"AlarmDataInv", "9", 10},
        NumberRow{"AlarmDataInv", "10", 10}, NumberRow{"AlarmDataInv", "11", 11},
        NumberRow{"AlarmDataInv", "-1", 10}, NumberRow{"AlarmDataInv", "40000", 10},
        NumberRow{"HeartInterval", "59", 60}, NumberRow{"HeartInterval", "60", 60},
        NumberRow{"HeartInterval", "120", 120}, NumberRow{"HeartInterval", "0", 60},
        NumberRow{"FailInterval", "10", 30}, NumberRow{"FailInterval", "29", 30},
        NumberRow{"FailInterval", "30", 30}, NumberRow{"FailInterval", "31", 31},
        NumberRow{"RecallInterval", "30", 60}, NumberRow{"RecallInterval", "1", 60},
        NumberRow{"RecallInterval", "59", 60}, NumberRow{"RecallInterval", "60", 60},
        NumberRow{"RecallInterval", "120", 120}, NumberRow{"RecallInterval", "0", 0},
        NumberRow{"RecallInterval", "-5", -5}, NumberRow{"IsCompress", "1", 1},
        NumberRow{"IsCompress", "258", 2}));

}  // namespace
