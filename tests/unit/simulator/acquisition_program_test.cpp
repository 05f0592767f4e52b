// The acquisition side as a program: what it publishes and records, and its end.
#include <gmock/gmock.h>

#include <filesystem>

#include "acquisition/historywriter.h"
#include "acquisition_fixture.h"
#include "programrun.h"

namespace {

using test::At;
using test::ProgramRun;
using test::RawSegment;
using ::testing::HasSubstr;

using AcquisitionProgram = test::AcquisitionTest;

// Every event on the card, in all months.
std::size_t EventsOnTheCard() {
  std::size_t events = 0;
  for (const std::string& name : test::List("/media/mmcblk0p1")) {
    if (!name.ends_with("_event.db")) continue;
    events += test::Lines("/media/mmcblk0p1/" + name, "SELECT Pid FROM event_tbl").size();
  }
  return events;
}

TEST_F(AcquisitionProgram, PublishesEveryPointUntilASignalComes) {
  WriteSmallPlant();
  ASSERT_GE(shmget(test::kRawKey, 28, IPC_CREAT | IPC_EXCL | 0666), 0);  // left by an earlier run
  ProgramRun run(BRENNIK_ACQUISITION_SIMULATOR, "--period=5 --event-interval 0 --no-history");
  ASSERT_NE(run.ReadLine(), "");
  const std::string raw = RawSegment();
  ASSERT_EQ(raw.size(), 4U + 6 * 24U);
  EXPECT_EQ(At<std::uint32_t>(raw, 0), 6U);
  EXPECT_EQ(At<std::uint32_t>(raw, 4 + 5 * 24), 0x0204B401U);

  EXPECT_TRUE(
      test::Await([&] { return At<std::int64_t>(RawSegment(), 20) > At<std::int64_t>(raw, 20); }));
  EXPECT_EQ(run.End(SIGINT), 0);
  EXPECT_EQ(RawSegment(), "");
  EXPECT_THAT(test::List("/media/mmcblk0p1"), ::testing::IsEmpty());
}

TEST_F(AcquisitionProgram, RecordsABurstAndThePastMinutesBeforeItIsReady) {
  WriteSmallPlant();
  ProgramRun run(BRENNIK_ACQUISITION_SIMULATOR,
                 "--burst=21 --event-interval=0 --history-minutes=90");
  ASSERT_NE(run.ReadLine(), "");

  EXPECT_EQ(EventsOnTheCard(), 21U);
  EXPECT_GE(HistoryWriter().Rows(0x01031123)->size(), 90U);
}

TEST_F(AcquisitionProgram, RecordsLaterWhatTheCardDoesNotTakeNow) {
  test::DeviceFile station("station");
  for (int node = 1; node <= 1000; ++node) station.Node("DI", node, "Contact", "");
  station.Write();
  test::ChannelTemplate().Channel(1).Device(3, station.Path()).Device(4, "/missing.xml").Write();
  test::WriteFile(std::string(test::kHistoryPath) + "/in-the-way", "");
  ProgramRun run(BRENNIK_ACQUISITION_SIMULATOR,
                 "--event-interval=1 --period=10 --history-minutes=1");
  ASSERT_NE(run.ReadLine(), "");
  EXPECT_THAT(ProgramRun::Errors(), HasSubstr("/missing.xml"));
  EXPECT_THAT(ProgramRun::Errors(), HasSubstr(test::kHistoryPath));

  std::filesystem::remove_all(test::kHistoryPath);

  EXPECT_TRUE(test::Await([] { return EventsOnTheCard() >= 2; }));
  EXPECT_TRUE(test::Await([] { return HistoryWriter().Rows(0x01030101).has_value(); }));
}

TEST_F(AcquisitionProgram, EndsWithStatusOneWithoutATemplateAndTwoOnABadCommandLine) {
  EXPECT_EQ(ProgramRun(BRENNIK_ACQUISITION_SIMULATOR, "").Wait(), 1);
  for (const char* arguments : {"--nonsense", "template.xml", "--period", "--period 0",
                                "--period=3600001", "--event-interval=-1", "--burst 1001",
                                "--event-interval=86401", "--history-minutes 10081"}) {
    EXPECT_EQ(ProgramRun(BRENNIK_ACQUISITION_SIMULATOR, arguments).Wait(), 2) << arguments;
  }
  EXPECT_EQ(ProgramRun(BRENNIK_ACQUISITION_SIMULATOR, "--help").Wait(), 0);
}

}  // namespace
