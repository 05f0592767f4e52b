// The intervals that the system file asks for, and the workers that follow from them.
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/text.h"

namespace {

constexpr unsigned kMainAndTwoLogThreads = 3;

struct Asked {
  const char* name;
  test::Attributes attributes;  // of the cloud element, beside checked, cloudip and port
  std::vector<int> intervals;   // real data, alarms, heartbeat, retry, recall
};

class Intervals : public test::SystemTest, public ::testing::WithParamInterface<Asked> {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }
};

TEST_P(Intervals, AreLogged) {
  const test::CloudServer server;
  test::SysXml system = test::SystemFile(server.Port());
  for (const auto& [name, value] : GetParam().attributes) system.Cloud(name, value);
  system.Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  const auto& asked = GetParam().intervals;
  EXPECT_THAT(
      test::OfLevel(test::ReadTextLog(), "INFO"),
      ::testing::IsSupersetOf({std::string("Brennik is Set on"),
                               util::Format("realdata timeinv = %d,alarm timeinv = %d,heartbeat "
                                            "timeinv = %d,checkfail timeinv = %d,recall timeinv "
                                            "= %d",
                                            asked[0], asked[1], asked[2], asked[3], asked[4])}));
}

INSTANTIATE_TEST_SUITE_P(
    StartUp, Intervals,
    ::testing::Values(
        Asked{"AllAbsent", {}, {300, 30, 600, 60, -1}},
        Asked{"AllGiven",
              {{"RealDataInv", "120"},
               {"AlarmDataInv", "20"},
               {"HeartInterval", "900"},
               {"FailInterval", "90"},
               {"RecallInterval", "180"}},
              {120, 20, 600, 90, 180}},
        Asked{"HeartIntervalIgnored", {{"HeartInterval", "120"}}, {300, 30, 600, 60, -1}},
        Asked{"RealDataAtItsLeast", {{"RealDataInv", "60"}}, {60, 30, 600, 60, -1}},
        Asked{"RealDataTooSmall", {{"RealDataInv", "59"}}, {300, 30, 600, 60, -1}},
        Asked{"RealDataOff", {{"RealDataInv", "-1"}}, {-1, 30, 600, 60, -1}},
        Asked{"RealDataBeyond16Bits", {{"RealDataInv", "70000"}}, {4464, 30, 600, 60, -1}},
        Asked{"RealDataNoNumber", {{"RealDataInv", "often"}}, {300, 30, 600, 60, -1}},
        Asked{"AlarmsTooOften", {{"AlarmDataInv", "5"}}, {300, 10, 600, 60, -1}},
        Asked{"AlarmsNegative", {{"AlarmDataInv", "-1"}}, {300, 10, 600, 60, -1}},
        Asked{"RetryTooOften", {{"FailInterval", "10"}}, {300, 30, 600, 30, -1}},
        Asked{"RetryBeyond16Bits", {{"FailInterval", "65571"}}, {300, 30, 600, 35, -1}},
        Asked{"RecallTooOften", {{"RecallInterval", "30"}}, {300, 30, 600, 60, 60}},
        Asked{"RecallZero", {{"RecallInterval", "0"}}, {300, 30, 600, 60, 0}},
        Asked{"RecallNegative", {{"RecallInterval", "-5"}}, {300, 30, 600, 60, -5}},
        Asked{"RecallGiven", {{"RecallInterval", "120"}}, {300, 30, 600, 60, 120}}),
    [](const auto& row) { return row.param.name; });

class Workers : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }

  cloud::Simulator m_cloud{{}};
  Segment m_segment{std::vector<SegmentPoint>{{0x01030001, 1}}};
};

TEST_F(Workers, AreFourWithoutARecallInterval) {
  test::SystemFile(m_cloud.Port()).Write();
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 0, 20));

  EXPECT_EQ(service.Threads(), kMainAndTwoLogThreads + 4);
}

TEST_F(Workers, AreFiveWithARecallInterval) {
  test::SystemFile(m_cloud.Port()).Cloud("RecallInterval", "120").Write();
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 0, 20));

  EXPECT_EQ(service.Threads(), kMainAndTwoLogThreads + 5);
}

TEST_F(Workers, PackAndUploadWithoutARecallInterval) {
  test::SystemFile(m_cloud.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(test::CountResults(1), 1);
  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 1U);
}

TEST_F(Workers, FollowTheirIntervals) {
  test::SystemFile(m_cloud.Port()).Cloud("RealDataInv", "60").Cloud("FailInterval", "30").Write();
  test::ServiceProcess service(At(12, 0, 1));

  service.RunUntil(At(12, 2, 40));

  EXPECT_EQ(test::TextLogTimes("CreateRealDataJsonFile"),
            (std::vector<std::string>{"12:00:02", "12:01:01", "12:02:01"}));
  EXPECT_EQ(test::TextLogTimes("start Send realdata"),
            (std::vector<std::string>{"12:00:30", "12:01:30", "12:02:30"}));
}

TEST_F(Workers, DoNotPackWithANegativeInterval) {
  test::SystemFile(m_cloud.Port()).Cloud("RealDataInv", "-1").Write();
  test::WriteLedger({{test::PackDataFile(At(10, 0))}});
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(14, 0));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307100000.tar.gz", 2, 1}}));
}

}  // namespace
