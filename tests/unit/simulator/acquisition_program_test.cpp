// The acquisition side as a program: what it publishes and records, and its end.
#include <gmock/gmock.h>

#include "acquisition/historywriter.h"
#include "acquisition_fixture.h"
#include "programrun.h"

namespace {

using namespace test;

using AcquisitionProgram = AcquisitionTest;

TEST_F(AcquisitionProgram, RecordsThePastAndPublishesEveryPointUntilASignalComes) {
  WriteSmallPlant();
  ASSERT_GE(shmget(kRawKey, 28, IPC_CREAT | IPC_EXCL | 0666), 0);  // left by an earlier run
  ProgramRun run(BRENNIK_ACQUISITION_SIMULATOR,
                 "--period=5 --burst=21 --event-interval 0 --history-minutes=90");
  ASSERT_NE(run.ReadLine(), "");
  const std::string raw = RawSegment();
  std::size_t events = 0;
  for (const std::string& name : List("/media/mmcblk0p1")) {
    if (!name.ends_with("_event.db")) continue;
    events += DatabaseFile("/media/mmcblk0p1/" + name).Lines("SELECT Pid FROM event_tbl").size();
  }

  ASSERT_EQ(raw.size(), 4U + 6 * 24U);
  EXPECT_EQ(At<std::uint32_t>(raw, 4 + 5 * 24), 0x0204B401U);
  EXPECT_EQ(events, 21U);
  EXPECT_GE(HistoryWriter().Rows(0x01031123)->size(), 90U);
  EXPECT_TRUE(
      Await([&] { return At<std::int64_t>(RawSegment(), 20) > At<std::int64_t>(raw, 20); }));
  EXPECT_EQ(run.End(SIGINT), 0);
  EXPECT_EQ(RawSegment(), "");
}

}  // namespace
