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

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using test::LogRecord;
using test::SysXml;
using test::WriteFile;

constexpr Interval_Info kUntouched{11, 12, 13, 14, 15};
constexpr char kOtherRoot[] = "<somethingElse/>";

std::string Text(const Interval_Info& intervals) {
  return std::to_string(intervals.realDataInv) + " " + std::to_string(intervals.alarmDataInv) +
         " " + std::to_string(intervals.heartBeatInv) + " " +
         std::to_string(intervals.checkFailInv) + " " + std::to_string(intervals.recallInv);
}

class Initialising : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    WriteFile(paths::kVersionFile, "1.0\n");
    SysXml().Cloud("cloudip", "127.0.0.1").Cloud("checked", "1").Write();
    test::WriteSnXml("Ostra-7K", "S1");
    test::ChannelTemplate().Write();
  }

  Interval_Info m_intervals = kUntouched;
};

TEST_F(Initialising, RefusesANullPointer) {
  test::Empty("/tessel");

  EXPECT_EQ(Init(nullptr), -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"ERROR", "Interval_info pointer is null"}));
}

TEST_F(Initialising, SaysWhatItHasRead) {
  EXPECT_EQ(Init(&m_intervals), 0);

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "real IP has become 127.0.0.1"},
                          LogRecord{"INFO", "Brennik is Set on"},
                          LogRecord{"INFO",
                                    "realdata timeinv = 300,alarm timeinv = 30,heartbeat timeinv = "
                                    "600,checkfail timeinv = 60,recall timeinv = -1"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(Initialising, SwitchedOffTurnsEveryWorkerOff) {
  SysXml().Cloud("cloudip", "127.0.0.1").Cloud("RecallInterval", "120").Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(Text(m_intervals), "-1 -1 -1 -1 -1");
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "real IP has become 127.0.0.1"},
                          LogRecord{"INFO", "Brennik is Set off "},
                          LogRecord{"INFO",
                                    "realdata timeinv = -1,alarm timeinv = -1,heartbeat timeinv = "
                                    "-1,checkfail timeinv = -1,recall timeinv = -1"}));
}

TEST_F(Initialising, KeepsTheValuesButNoDocument) {
  Init(&m_intervals);

  EXPECT_FALSE(GetCSysSetInstance().IsOpen());
  EXPECT_FALSE(GetCsnSetInstance().IsOpen());
  EXPECT_EQ(GetCChannelSetInstance().IsOpen(), -1);
  EXPECT_STREQ(GetCSysSetInstance().GetCloudConfigAttr()->cloudip, "127.0.0.1");
  EXPECT_STREQ(GetCsnSetInstance().GetSn(), "S1");
}

TEST_F(Initialising, LoadsTheCatalogue) {
  const test::DeviceFile pump("pump");
  test::DeviceFile(pump).Node("AI", 77).Write();
  test::ChannelTemplate().Channel(9).Device(8, pump.Path()).Write();

  Init(&m_intervals);

  ST_POINTID_ATTR* point = nullptr;
  EXPECT_EQ(GetCChannelSetInstance().GetAttr(0x0908004DU, &point), 0);
}

struct SwitchValue {
  const char* checked;
  bool on;
};

void PrintTo(const SwitchValue& value, std::ostream* out) {
  *out << value.checked;
}

class Switch : public Initialising, public ::testing::WithParamInterface<SwitchValue> {};

TEST_P(Switch, IsOnForEveryByteButZero) {
  SysXml().Cloud("checked", GetParam().checked).Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(m_intervals.heartBeatInv, GetParam().on ? 600 : -1);
}

INSTANTIATE_TEST_SUITE_P(Checked, Switch,
                         ::testing::Values(SwitchValue{"0", false}, SwitchValue{"1", true},
                                           SwitchValue{"2", true}, SwitchValue{"255", true},
                                           SwitchValue{"256", false}, SwitchValue{"-1", true},
                                           SwitchValue{"off", false}));

struct IntervalRow {
  const char* name;
  test::Attributes attributes;
  const char* intervals;  // real data, alarms, heartbeat, upload, recall
};

void PrintTo(const IntervalRow& row, std::ostream* out) {
  *out << row.name;
}

class Intervals : public Initialising, public ::testing::WithParamInterface<IntervalRow> {};

TEST_P(Intervals, ComeFromTheCloudElement) {
  SysXml settings;
  settings.Cloud("checked", "1");
  for (const auto& [name, value] : GetParam().attributes) settings.Cloud(name, value);
  settings.Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(Text(m_intervals), GetParam().intervals);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Intervals,
    ::testing::Values(
        IntervalRow{"NothingUsable", {}, "300 30 600 60 -1"},
        IntervalRow{"RealData", {{"RealDataInv", "900"}}, "900 30 600 60 -1"},
        IntervalRow{"RealDataTooSmall", {{"RealDataInv", "30"}}, "300 30 600 60 -1"},
        IntervalRow{"RealDataOff", {{"RealDataInv", "-1"}}, "-1 30 600 60 -1"},
        IntervalRow{"RealDataLargest", {{"RealDataInv", "32767"}}, "32767 30 600 60 -1"},
        IntervalRow{"RealDataOverflowing", {{"RealDataInv", "32768"}}, "-32768 30 600 60 -1"},
        IntervalRow{"Alarm", {{"AlarmDataInv", "45"}}, "300 45 600 60 -1"},
        IntervalRow{"AlarmTooSmall", {{"AlarmDataInv", "5"}}, "300 10 600 60 -1"},
        IntervalRow{"HeartbeatIgnored", {{"HeartInterval", "120"}}, "300 30 600 60 -1"},
        IntervalRow{"HeartbeatIgnoredTooSmall", {{"HeartInterval", "1"}}, "300 30 600 60 -1"},
        IntervalRow{"Upload", {{"FailInterval", "90"}}, "300 30 600 90 -1"},
        IntervalRow{"UploadTooSmall", {{"FailInterval", "10"}}, "300 30 600 30 -1"},
        IntervalRow{"Recall", {{"RecallInterval", "120"}}, "300 30 600 60 120"},
        IntervalRow{"RecallTooSmall", {{"RecallInterval", "30"}}, "300 30 600 60 60"},
        IntervalRow{"RecallZero", {{"RecallInterval", "0"}}, "300 30 600 60 0"},
        IntervalRow{"RecallNegative", {{"RecallInterval", "-5"}}, "300 30 600 60 -5"}),
    [](const auto& test) { return test.param.name; });

TEST_F(Initialising, WithoutSysXmlOpensNothingElse) {
  test::Empty("/tessel");

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"ERROR", "parsed /tessel/Config/sys.xml failed"},
                          LogRecord{"ERROR", "Parse sys.xml failed"}));
  EXPECT_EQ(Text(m_intervals), Text(kUntouched));
}

TEST_F(Initialising, WithoutSnXmlDoesNotOpenTheTemplate) {
  WriteFile(paths::kIdentityFile, "");
  WriteFile(paths::kChannelTemplate, "");

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_THAT(
      test::TextLog("ERROR"),
      ElementsAre("parse Document /tessel/Config/system/sn.xml failed", "Parse sn.xml failed"));
  EXPECT_THAT(test::TextLog("INFO"), ElementsAre("real IP has become 127.0.0.1"));
  EXPECT_EQ(Text(m_intervals), Text(kUntouched));
}

TEST_F(Initialising, WithoutAChannelTemplateFails) {
  WriteFile(paths::kChannelTemplate, "");

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_THAT(test::TextLog("ERROR"),
              ElementsAre("Document /tessel/Config/Channel-template.xml parsed failed.",
                          "Parse Channel-template.xml failed"));
  EXPECT_EQ(Text(m_intervals), Text(kUntouched));
}

TEST_F(Initialising, WithAnotherRootInSnXmlFails) {
  WriteFile(paths::kIdentityFile, kOtherRoot);

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_THAT(test::TextLog("ERROR"),
              ElementsAre("parse SN Document failed,wrong type,root node is not snConfig",
                          "Parse sn.xml failed"));
}

TEST_F(Initialising, WithAnotherRootInTheTemplateFails) {
  WriteFile(paths::kChannelTemplate, kOtherRoot);

  EXPECT_EQ(Init(&m_intervals), -1);
  EXPECT_THAT(test::TextLog("ERROR"),
              ElementsAre("[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'",
                          "Parse Channel-template.xml failed"));
}

// Only a file that cannot be parsed is a failure; a readable one that is no system file leaves the
// values as they were. In a fresh process that is the switch off; here an empty element sees to it.
TEST_F(Initialising, WithAnotherRootInSysXmlRunsSwitchedOff) {
  SysXml().Write();
  Init(&m_intervals);
  test::DiscardLogs();
  WriteFile(paths::kSystemFile, kOtherRoot);

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(Text(m_intervals), "-1 -1 -1 -1 -1");
  const auto log = test::TextLog();
  ASSERT_EQ(log.size(), 3U);
  EXPECT_EQ(log[0], (LogRecord{"ERROR", "SysConfigXml document,root is not sysConfig."}));
  EXPECT_EQ(log[1], (LogRecord{"INFO", "Brennik is Set off "}));
}

TEST_F(Initialising, WithoutACloudElementRunsSwitchedOff) {
  SysXml().Write();
  Init(&m_intervals);
  SysXml().WithoutCloud().Write();

  EXPECT_EQ(Init(&m_intervals), 0);
  EXPECT_EQ(Text(m_intervals), "-1 -1 -1 -1 -1");
}

}  // namespace
