// Which boundary stamps a cycle, and where its file goes.
#include <string>
#include <vector>

#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

constexpr char kFolder[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
const std::vector<SegmentPoint> kAnyValue = {{0x01030001, 1}};

// A plant without channels packs within the second of the cycle and the next.
class Stamps : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }

  test::CloudServer m_server;
  Segment m_segment{kAnyValue};
};

struct Wake {
  const char* name;
  const char* intervalSeconds;
  int hour;  // when the worker wakes
  int minute;
  int second;
  int packedAfterSeconds;  // until the cycle has packed
  const char* file;
};

class NearestBoundary : public Stamps, public ::testing::WithParamInterface<Wake> {};

TEST_P(NearestBoundary, StampsTheFirstCycle) {
  const Wake& wake = GetParam();
  test::SystemFile(m_server.Port()).Cloud("RealDataInv", wake.intervalSeconds).Write();
  test::ServiceProcess service(At(wake.hour, wake.minute, wake.second));

  service.RunFor(wake.packedAfterSeconds);

  EXPECT_EQ(test::List(kFolder), std::vector<std::string>{wake.file});
}

INSTANTIATE_TEST_SUITE_P(
    Stamps, NearestBoundary,
    ::testing::Values(
        Wake{"OnTheBoundary", "300", 12, 5, 0, 1, "S20240307120500.tar.gz"},
        Wake{"JustBehindIt", "300", 12, 5, 1, 1, "S20240307120500.tar.gz"},
        Wake{"LongBeforeTheNext", "300", 12, 1, 10, 1, "S20240307120000.tar.gz"},
        Wake{"JustBeforeTheHalf", "300", 12, 2, 29, 1, "S20240307120000.tar.gz"},
        Wake{"AtTheHalf", "300", 12, 2, 30, 151, "S20240307120500.tar.gz"},
        Wake{"JustBehindTheHalf", "300", 12, 2, 31, 150, "S20240307120500.tar.gz"},
        Wake{"SoonBeforeTheNext", "300", 12, 3, 10, 111, "S20240307120500.tar.gz"},
        Wake{"JustBeforeTheNext", "300", 12, 4, 59, 2, "S20240307120500.tar.gz"},
        // 75 s: boundaries at 12:00:00 and 12:01:15, their half at 37.5 s.
        Wake{"BeforeTheHalfOfAnOddInterval", "75", 12, 0, 37, 1, "S20240307120000.tar.gz"},
        Wake{"BehindTheHalfOfAnOddInterval", "75", 12, 0, 38, 38, "S20240307120115.tar.gz"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Stamps, WaitForABoundaryAheadBeforeTheSnapshot) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 4, 59));

  EXPECT_EQ(test::List(kFolder), std::vector<std::string>{});
}

TEST_F(Stamps, GoOnFromBoundaryToBoundary) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 1, 10));

  service.RunUntil(At(12, 15, 2));

  EXPECT_EQ(test::List(kFolder),
            (std::vector<std::string>{"S20240307120000.tar.gz", "S20240307120500.tar.gz",
                                      "S20240307121000.tar.gz", "S20240307121500.tar.gz"}));
}

TEST_F(Stamps, OfMidnightBelongToTheNewDaysDirectory) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(23, 58));

  service.RunUntil(At(24, 0, 1));

  EXPECT_EQ(test::List(kFolder), std::vector<std::string>{});
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/8/S20240308000000.tar.gz"}}));
}

TEST_F(Stamps, CountTheBoundariesFromTheEpochNotFromMidnight) {
  test::SystemFile(m_server.Port()).Cloud("RealDataInv", "25200").Write();
  // Seven hours do not divide the day: Unix time 1709794800 is 15:00 in the zone.
  test::ServiceProcess service(At(14, 0));

  service.RunUntil(At(15, 0, 1));

  EXPECT_EQ(test::List(kFolder), std::vector<std::string>{"S20240307150000.tar.gz"});
}

TEST_F(Stamps, OfASecondRunWithinTheIntervalReplaceTheFileAndKeepTheRow) {
  test::SystemFile(m_server.Port()).Write();
  {
    test::ServiceProcess service(At(12, 0));
    service.RunUntil(At(12, 0, 10));
  }
  test::WriteFile(std::string(kFolder) + "/S20240307120000.tar.gz", "of the first run");
  test::ServiceProcess service(At(12, 1));

  service.RunUntil(At(12, 1, 10));

  EXPECT_NE(test::ReadFile(std::string(kFolder) + "/S20240307120000.tar.gz"), "of the first run");
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307120000.tar.gz"}}));
}

}  // namespace
