// The real-data worker.
#include <gmock/gmock.h>

#include <optional>

#include "acquisition/segment.h"
#include "schedule/workers.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/paths.h"
#include "workerfixture.h"

namespace {

using namespace test;
using namespace testing;

const std::vector<SegmentPoint> kBothPoints{{kLevel, 12.5}, {kFlow, -0.0004}};

class RealDataWorker : public WorkerTest {
 protected:
  std::optional<Segment> m_segment{kBothPoints};
  std::int32_t m_interval = 300;
};

TEST_F(RealDataWorker, PacksForTheNearestBoundaryAndEveryLaterOneByItsDay) {
  SetTime(LocalTimeOf(2024, 3, 7, 23, 57, 40));

  RunToRest(HandleRealData, m_interval, 3);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/8/S20240308000000.tar.gz", "2 0"),
                                        Pair("realdata/8/S20240308000500.tar.gz", "2 0")));
  EXPECT_THAT(List("/media/mmcblk0p1/Cloud/JsonFiles/realdata/8"),
              ElementsAre("S20240308000000.tar.gz", "S20240308000500.tar.gz"));
}

TEST_F(RealDataWorker, RecordsNothingWithoutASegmentAndPacksWhenOneComes) {
  m_segment.reset();

  RunThroughRests(HandleRealData, m_interval,
                  {[this] {
                     EXPECT_FALSE(Exists(paths::kLedger));
                     m_segment.emplace(kBothPoints);
                   },
                   [] {}});

  EXPECT_THAT(DatabaseLog(), ElementsAre(LogRecord{"ERROR", "Brennik Get RealData error"}));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120500.tar.gz", "2 0")));
}

TEST_F(RealDataWorker, RecordsNothingWhenPackingFails) {
  FailCalls(Call::kPopen, 3);

  RunToRest(HandleRealData, m_interval, 1);

  EXPECT_THAT(DatabaseLog(), ElementsAre(LogRecord{"ERROR", "Brennik Create RealData File error"}));
  EXPECT_FALSE(Exists(paths::kLedger));
}

TEST_F(RealDataWorker, SavesToTheLedgerAlsoWhenPackingMakesNoFile) {
  m_segment->Write({kBothPoints[0], kBothPoints[0]});

  RunToRest(HandleRealData, m_interval, 1);

  EXPECT_TRUE(Exists(paths::kLedger));
  EXPECT_THAT(ReadLedger(), IsEmpty());
  EXPECT_THAT(DatabaseLog(), IsEmpty());
}

TEST_F(RealDataWorker, PausesOneSecondAfterEachFailure) {
  SetTime(LocalTimeOf(2024, 3, 7, 12, 3, 10));
  FailCalls(Call::kLocaltime, 2);  // for the directory, and for the builder

  RunThroughRests(HandleRealData, m_interval, {[] {}, [this] { m_segment.reset(); }, [] {}});

  EXPECT_EQ(PausesText(), "110 1 299 1 299");
}

}  // namespace
