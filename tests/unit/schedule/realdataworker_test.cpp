// The real-data worker.
#include <gmock/gmock.h>

#include <optional>

#include "acquisition/segment.h"
#include "schedule/workers.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/paths.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

using test::LogRecord;
using test::ReadLedger;
using test::RunToRest;

const std::vector<SegmentPoint> kBothPoints{{test::kLevel, 12.5}, {test::kFlow, -0.0004}};

class RealDataWorker : public test::WorkerTest {
 protected:
  std::optional<Segment> m_segment{kBothPoints};
  std::int32_t m_interval = 300;
};

TEST_F(RealDataWorker, PacksForTheNearestBoundaryAndEveryLaterOneByItsDay) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 23, 57, 40));

  RunToRest(HandleRealData, m_interval, 3);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/8/S20240308000000.tar.gz", "2 0"),
                                        Pair("realdata/8/S20240308000500.tar.gz", "2 0")));
  EXPECT_THAT(test::List("/media/mmcblk0p1/Cloud/JsonFiles/realdata/8"),
              ElementsAre("S20240308000000.tar.gz", "S20240308000500.tar.gz"));
}

TEST_F(RealDataWorker, RecordsNothingWithoutASegmentAndPacksWhenOneComes) {
  m_segment.reset();

  test::RunThroughRests(HandleRealData, m_interval,
                        {[this] {
                           EXPECT_FALSE(test::Exists(paths::kLedger));
                           m_segment.emplace(kBothPoints);
                         },
                         [] {}});

  EXPECT_THAT(test::DatabaseLog(), ElementsAre(LogRecord{"ERROR", "Brennik Get RealData error"}));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120500.tar.gz", "2 0")));
}

TEST_F(RealDataWorker, RecordsNothingWhenPackingFails) {
  test::FailCalls(test::Call::kPopen, 3);

  RunToRest(HandleRealData, m_interval, 1);

  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create RealData File error"}));
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(RealDataWorker, SavesToTheLedgerAlsoWhenPackingMakesNoFile) {
  m_segment->Write({kBothPoints[0], kBothPoints[0]});

  RunToRest(HandleRealData, m_interval, 1);

  EXPECT_TRUE(test::Exists(paths::kLedger));
  EXPECT_THAT(ReadLedger(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RealDataWorker, PausesOneSecondAfterEachFailure) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 3, 10));
  test::FailCalls(test::Call::kLocaltime, 2);  // for the directory, and for the builder

  test::RunThroughRests(HandleRealData, m_interval, {[] {}, [this] { m_segment.reset(); }, [] {}});

  EXPECT_EQ(test::PausesText(), "110 1 299 1 299");
}

}  // namespace
