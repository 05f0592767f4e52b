// Files and rows of 31 days ago, to the second.
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using test::LedgerRow;

constexpr std::time_t kAge = 31 * 86400;
const std::vector<SegmentPoint> kAnyValue = {{0x01030001, 1}};

// The service starts at 12:04:30; its cycle of 12:05:00 saves at 12:05:01.
class Ageing : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    test::SystemFile(m_server.Port()).Write();
  }

  // The row of a file that is there; its stamp lies that many seconds behind the cut-off.
  LedgerRow Row(int secondsBehind, int type, int result) const {
    const std::time_t stamp = At(12, 5, 1) - kAge + secondsBehind;
    const std::string name =
        type == test::kRealDataType ? test::RealDataName(stamp) : test::AlarmDataName(stamp);
    test::WriteFile(test::DataFilePath(name), "data");
    return {name, type, result};
  }

  test::CloudServer m_server;
  std::optional<Segment> m_segment{kAnyValue};
};

struct Aged {
  const char* name;
  int secondsBehind;
  int type;
  int result;
  bool kept;
};

class AgedFile : public Ageing, public ::testing::WithParamInterface<Aged> {};

TEST_P(AgedFile, GoesWithItsRowOnceItIs31DaysOld) {
  const LedgerRow row = Row(GetParam().secondsBehind, GetParam().type, GetParam().result);
  test::WriteLedger({row});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  const LedgerRow packed{"realdata/7/S20240307120500.tar.gz"};
  EXPECT_EQ(test::ReadLedger(), (GetParam().kept ? std::vector<LedgerRow>{row, packed}
                                                 : std::vector<LedgerRow>{packed}));
  EXPECT_EQ(test::Exists(test::DataFilePath(row.name)), GetParam().kept);
}

INSTANTIATE_TEST_SUITE_P(
    Ageing, AgedFile,
    ::testing::Values(Aged{"PendingASecondOlder", -1, test::kRealDataType, 0, false},
                      Aged{"PendingAtTheCutOff", 0, test::kRealDataType, 0, false},
                      Aged{"PendingASecondYounger", 1, test::kRealDataType, 0, true},
                      Aged{"AcceptedAtTheCutOff", 0, test::kRealDataType, 1, false},
                      Aged{"AcceptedASecondYounger", 1, test::kRealDataType, 1, true},
                      Aged{"AnAncientYear", -20 * 365 * 86400, test::kRealDataType, 1, false}),
    [](const auto& row) { return row.param.name; });

TEST_F(Ageing, DropsAlarmsAlike) {
  const LedgerRow aged = Row(0, test::kAlarmDataType, 0);
  const LedgerRow young = Row(1, test::kAlarmDataType, 0);
  test::WriteLedger({aged, young});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_FALSE(test::Exists(test::DataFilePath(aged.name)));
  EXPECT_TRUE(test::Exists(test::DataFilePath(young.name)));
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{young, {"realdata/7/S20240307120500.tar.gz"}}));
}

TEST_F(Ageing, DropsARowWhoseFileIsGone) {
  test::WriteLedger({{test::RealDataName(At(12, 0) - kAge)}});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/7/S20240307120500.tar.gz"}}));
}

TEST_F(Ageing, RunsInACycleWithoutAFile) {
  test::WriteExamplePlant();  // the segment has a value for only one of its points
  const LedgerRow aged = Row(-1, test::kRealDataType, 0);
  test::WriteLedger({aged});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_FALSE(test::Exists(test::DataFilePath(aged.name)));
  EXPECT_EQ(test::ReadLedger(), std::vector<LedgerRow>{});
}

TEST_F(Ageing, DoesNotRunInACycleWithoutLiveValues) {
  const LedgerRow aged = Row(0, test::kRealDataType, 0);
  test::WriteLedger({aged});
  m_segment.reset();
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_TRUE(test::Exists(test::DataFilePath(aged.name)));
}

TEST_F(Ageing, TakesWhatTheServiceItselfPacked31DaysBefore) {
  {
    test::ServiceProcess service(At(12, 4, 30));
    service.RunUntil(At(12, 5, 20));
  }
  const std::string name = "realdata/7/S20240307120500.tar.gz";
  test::ServiceProcess service(At(11, 59, 30) + kAge);

  service.RunUntil(At(12, 4, 59) + kAge);
  const bool before = test::Exists(test::DataFilePath(name));
  service.RunUntil(At(12, 5, 20) + kAge);

  EXPECT_TRUE(before);
  EXPECT_FALSE(test::Exists(test::DataFilePath(name)));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/7/S20240407120000.tar.gz"},
                                                        {"realdata/7/S20240407120500.tar.gz"}}));
}

}  // namespace
