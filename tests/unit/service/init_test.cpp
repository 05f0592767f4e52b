// Start-up: the configuration files and the workers' intervals.
#include "service/init.h"

#include <gmock/gmock.h>

#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/paths.h"

namespace {

using namespace test;
using namespace testing;

std::string Text(const Interval_Info& intervals) {
  return std::to_string(intervals.realDataInv) + " " + std::to_string(intervals.alarmDataInv) +
         " " + std::to_string(intervals.heartBeatInv) + " " +
         std::to_string(intervals.checkFailInv) + " " + std::to_string(intervals.recallInv);
}

class StartUp : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    WriteFile(paths::kVersionFile, "1.0\n");
    Settings().Cloud("checked", "1").Write();
    WriteSnXml("Ostra-7K", "S1");
    DeviceFile pump("pump");
    pump.Node("AI", 77).Write();
    ChannelTemplate().Channel(9).Device(8, pump.Path()).Write();
  }

  static SysXml Settings() {
    return SysXml()
        .Cloud("RealDataInv", "900")
        .Cloud("AlarmDataInv", "45")
        .Cloud("HeartInterval", "120")
        .Cloud("FailInterval", "90")
        .Cloud("RecallInterval", "-5");
  }

  Interval_Info m_intervals{11, 12, 13, 14, 15};
};

TEST_F(StartUp, RefusesANullPointer) {
  EXPECT_EQ(Init(nullptr), -1);
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{"ERROR", "Interval_info pointer is null"}));
}

TEST_F(StartUp, TakesTheConfiguredIntervalsExceptTheHeartbeat) {
  EXPECT_EQ(Init(&m_intervals), 0);

  EXPECT_EQ(Text(m_intervals), "900 45 600 90 -5");
  const auto log = TextLog("INFO");
  ASSERT_EQ(log.size(), 3U);
  EXPECT_EQ(log[1], "Brennik is Set on");
  EXPECT_EQ(log[2],
            "realdata timeinv = 900,alarm timeinv = 45,heartbeat timeinv = 600,checkfail timeinv = "
            "90,recall timeinv = -5");
}

TEST_F(StartUp, SwitchesEveryWorkerOff) {
  Settings().Cloud("checked", "0").Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(Text(m_intervals), "-1 -1 -1 -1 -1");
  EXPECT_THAT(TextLog("INFO"), Contains("Brennik is Set off "));
}

TEST_F(StartUp, SwitchesTheWorkersOnForAnyByteButZero) {
  Settings().Cloud("checked", "255").Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(m_intervals.heartBeatInv, 600);
}

TEST_F(StartUp, KeepsTheValuesButNoDocument) {
  Init(&m_intervals);

  EXPECT_FALSE(GetCSysSetInstance().IsOpen());
  EXPECT_FALSE(GetCsnSetInstance().IsOpen());
  EXPECT_EQ(GetCChannelSetInstance().IsOpen(), -1);
  EXPECT_STREQ(GetCsnSetInstance().GetSn(), "S1");
  ST_POINTID_ATTR* point = nullptr;
  EXPECT_EQ(GetCChannelSetInstance().GetAttr(0x0908004DU, &point), 0);
}

struct BrokenFile {
  const char* name;
  const char* path;
  const char* message;
};

class BrokenConfiguration : public StartUp, public WithParamInterface<BrokenFile> {};

// The files after the broken one are broken too: only the first is reported, so only it was opened.
TEST_P(BrokenConfiguration, EndsTheStartAtItsFile) {
  bool broken = false;
  for (const char* path : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    broken = broken || std::string_view(path) == GetParam().path;
    if (broken) WriteFile(path, "");
  }

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_EQ(Text(m_intervals), "11 12 13 14 15");
  const auto errors = TextLog("ERROR");
  ASSERT_EQ(errors.size(), 2U);
  EXPECT_EQ(errors[1], GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(Files, BrokenConfiguration,
                         Values(BrokenFile{"System", paths::kSystemFile, "Parse sys.xml failed"},
                                BrokenFile{"Identity", paths::kIdentityFile, "Parse sn.xml failed"},
                                BrokenFile{"Template", paths::kChannelTemplate,
                                           "Parse Channel-template.xml failed"}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
