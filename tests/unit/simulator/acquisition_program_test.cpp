// The acquisition side as a program: its options, what it does, and its end.
#include <gmock/gmock.h>
#include <sys/shm.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "acquisition/historywriter.h"
#include "acquisition_fixture.h"
#include "programrun.h"

namespace {

using test::At;
using test::RawSegment;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using AcquisitionProgram = test::AcquisitionTest;

class AcquisitionRun : public test::ProgramRun {
 public:
  explicit AcquisitionRun(std::vector<std::string> arguments)
      : ProgramRun(BRENNIK_ACQUISITION_SIMULATOR, std::move(arguments)) {}
};

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
  for (const int signal : {SIGINT, SIGTERM}) {
    AcquisitionRun run({"--period=5", "--event-interval=0", "--no-history"});
    ASSERT_TRUE(AcquisitionRun::IsReady());
    const std::string raw = RawSegment();
    ASSERT_EQ(raw.size(), 4U + 6 * 24U);
    EXPECT_EQ(At<std::uint32_t>(raw, 0), 6U);
    EXPECT_EQ(At<std::uint32_t>(raw, 4 + 5 * 24), 0x0204B401U);

    EXPECT_TRUE(test::Await(
        [&] { return At<std::int64_t>(RawSegment(), 20) > At<std::int64_t>(raw, 20); }));
    EXPECT_EQ(run.End(signal), 0);
    EXPECT_EQ(RawSegment(), "");
    EXPECT_EQ(AcquisitionRun::Errors(), "");
    EXPECT_THAT(test::List("/media/mmcblk0p1"), IsEmpty());
  }
}

TEST_F(AcquisitionProgram, RecordsABurstAndThePastMinutesBeforeItIsReady) {
  WriteSmallPlant();

  const AcquisitionRun run({"--burst", "21", "--event-interval", "0", "--history-minutes=90"});

  ASSERT_TRUE(AcquisitionRun::IsReady());
  EXPECT_EQ(EventsOnTheCard(), 21U);
  const auto rows = HistoryWriter().Rows(0x01031123);
  ASSERT_TRUE(rows);
  EXPECT_THAT(*rows, SizeIs(::testing::Ge(90U)));
}

TEST_F(AcquisitionProgram, RecordsEventsAndHistoryWhileItRuns) {
  test::DeviceFile station("station");
  for (int node = 1; node <= 1000; ++node) station.Node("DI", node, "Contact", "");
  station.Write();
  test::ChannelTemplate().Channel(1).Device(3, station.Path()).Device(4, "/missing.xml").Write();
  test::WriteFile(std::string(test::kHistoryPath) + "/in-the-way", "");
  const AcquisitionRun run({"--event-interval=1", "--period=10", "--history-minutes=1"});
  ASSERT_TRUE(AcquisitionRun::IsReady());
  EXPECT_THAT(AcquisitionRun::Errors(), HasSubstr("/missing.xml"));
  EXPECT_THAT(AcquisitionRun::Errors(), HasSubstr(test::kHistoryPath));

  std::filesystem::remove_all(test::kHistoryPath);

  EXPECT_TRUE(test::Await([] { return EventsOnTheCard() >= 2; }));
  EXPECT_TRUE(test::Await([] { return HistoryWriter().Rows(0x01031123).has_value(); }));
}

TEST_F(AcquisitionProgram, EndsWithStatusOneWithoutATemplate) {
  AcquisitionRun run({});

  EXPECT_EQ(run.Wait(), 1);
  EXPECT_THAT(AcquisitionRun::Errors(), HasSubstr(test::kTemplatePath));
}

TEST_F(AcquisitionProgram, NamesEveryOptionInItsHelp) {
  AcquisitionRun run({"--help"});

  EXPECT_EQ(run.Wait(), 0);
  for (const char* option :
       {"--period", "--event-interval", "--burst", "--history-minutes", "--no-history", "--help"}) {
    EXPECT_THAT(AcquisitionRun::Output(), HasSubstr(option));
  }
}

TEST_F(AcquisitionProgram, EndsWithStatusTwoOnABadCommandLine) {
  const std::vector<std::vector<std::string>> rows = {{"--nonsense"},
                                                      {"template.xml"},
                                                      {"--help=yes"},
                                                      {"--period"},
                                                      {"--period", "0"},
                                                      {"--period=3600001"},
                                                      {"--period", "9s"},
                                                      {"--event-interval", "-1"},
                                                      {"--event-interval=86401"},
                                                      {"--burst", "1001"},
                                                      {"--history-minutes", "10081"}};
  for (const auto& arguments : rows) {
    SCOPED_TRACE(arguments[0] + " " + arguments.back());
    AcquisitionRun run(arguments);
    EXPECT_EQ(run.Wait(), 2);
    EXPECT_THAT(AcquisitionRun::Errors(),
                HasSubstr(arguments[0].substr(0, arguments[0].find('='))));
  }
}

}  // namespace
