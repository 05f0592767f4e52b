// The real-data worker when something fails.
#include <pthread.h>

#include <gmock/gmock.h>

#include <optional>

#include "acquisition/segment.h"
#include "historydata/historydata.h"
#include "schedule/workers.h"
#include "support/faults.h"
#include "support/logs.h"
#include "support/threads.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

using test::LogRecord;
using test::PausesText;
using test::ReadLedger;
using test::RunToItsEnd;
using test::RunToPause;

const std::vector<SegmentPoint> kBothPoints{{test::kLevel, 1}, {test::kFlow, 2}};

class RealDataFailure : public test::WorkerTest {
 protected:
  std::int32_t m_interval = 300;
};

TEST_F(RealDataFailure, WithoutASegmentIsRetriedAtTheNextBoundary) {
  RunToPause(HandleRealData, m_interval, 4);

  EXPECT_EQ(PausesText(), "1 299 1 299");
  EXPECT_THAT(test::DatabaseLog(), ElementsAre(LogRecord{"ERROR", "Brennik Get RealData error"},
                                               LogRecord{"ERROR", "Brennik Get RealData error"}));
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_FALSE(test::Exists(paths::kLedger)) << "nothing is recorded for such a cycle";
}

TEST_F(RealDataFailure, WithAnEmptySegmentIsTheSame) {
  const Segment segment({}, {.count = 0, .bytes = 64});

  RunToPause(HandleRealData, m_interval, 2);

  EXPECT_EQ(PausesText(), "1 299");
  EXPECT_THAT(test::DatabaseLog("ERROR"), ElementsAre("Brennik Get RealData error"));
}

TEST_F(RealDataFailure, WithASegmentThatPromisesTooMuchIsTheSame) {
  const Segment segment(kBothPoints, {.count = 1000000});

  RunToPause(HandleRealData, m_interval, 2);

  EXPECT_THAT(test::DatabaseLog("ERROR"), ElementsAre("Brennik Get RealData error"));
}

TEST_F(RealDataFailure, WithASegmentThatCannotBeAttachedIsTheSame) {
  const Segment segment(kBothPoints);
  test::FailCalls(test::Call::kShmat);

  RunToPause(HandleRealData, m_interval, 2);

  EXPECT_EQ(PausesText(), "1 299");
  EXPECT_THAT(test::DatabaseLog("ERROR"), ElementsAre("Brennik Get RealData error"));
}

TEST_F(RealDataFailure, KeepsTheWaitBeforeIt) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 3, 10));

  RunToPause(HandleRealData, m_interval, 3);

  EXPECT_EQ(PausesText(), "110 1 299");
}

TEST_F(RealDataFailure, EndsWhenTheSegmentComes) {
  std::optional<Segment> segment;
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) segment.emplace(kBothPoints);
    if (pauses == 6) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealData, m_interval);

  EXPECT_EQ(PausesText(), "1 299 0.1 0.5 1 299");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120500.tar.gz", "2 0")));
}

TEST_F(RealDataFailure, OfTheBuilderIsRetriedAtTheNextBoundary) {
  const Segment segment(kBothPoints);
  test::FailCalls(test::Call::kPopen, 3);

  RunToPause(HandleRealData, m_interval, 7);

  // device, channel, three attempts, the failure, the boundary
  EXPECT_EQ(PausesText(), "0.1 0.5 1 1 1 1 296");
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create RealData File error"}));
  EXPECT_FALSE(test::Exists(paths::kLedger)) << "nothing is recorded for such a cycle";
}

TEST_F(RealDataFailure, OfTheLocalTimeIsTheBuilders) {
  const Segment segment(kBothPoints);
  test::FailCalls(test::Call::kLocaltime, 2);

  RunToPause(HandleRealData, m_interval, 2);

  EXPECT_EQ(PausesText(), "1 299");
  EXPECT_THAT(test::DatabaseLog("ERROR"), ElementsAre("Brennik Create RealData File error"));
}

TEST_F(RealDataFailure, OfOnePointIsNoFailureAndStillAgesTheLedger) {
  AddFile("realdata/4/S20240204120000.tar.gz");  // 32 days ago
  AddFile("realdata/6/S20240306120000.tar.gz");
  ASSERT_THAT(ReadLedger(), SizeIs(1)) << "adding ages as well";
  util::Database(paths::kLedger)
      .Execute("insert into tJsonFileNames values('realdata/4/S20240204120000.tar.gz',2,0)");
  test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/realdata/4/S20240204120000.tar.gz", "archive");
  const Segment segment({{test::kLevel, 1}});

  RunToPause(HandleRealData, m_interval, 1);

  EXPECT_EQ(PausesText(), "300") << "no pause for a failure";
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/6/S20240306120000.tar.gz", "2 0")));
  EXPECT_THAT(test::List("/media/mmcblk0p1/Cloud/JsonFiles/realdata/4"), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RealDataFailure, OfOnePointMakesALedgerWithoutARow) {
  const Segment segment({{test::kLevel, 1}});

  RunToPause(HandleRealData, m_interval, 1);

  EXPECT_TRUE(test::Exists(paths::kLedger));
  EXPECT_THAT(ReadLedger(), IsEmpty());
}

TEST_F(RealDataFailure, OfTheLedgerIsNotExamined) {
  const Segment segment(kBothPoints);
  util::Database(paths::kLedger).Execute("create table something_else(x)");

  RunToPause(HandleRealData, m_interval, 8);
  pthread_join(test::LatestThread().id, nullptr);  // it removes the damaged tree

  // The tree with the first archive went; the second cycle stands in the new one.
  EXPECT_EQ(PausesText(), "0.1 0.5 1 299 0.1 0.5 1 298");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120500.tar.gz", "2 0")));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

}  // namespace
