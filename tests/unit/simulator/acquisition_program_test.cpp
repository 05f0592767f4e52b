// The program as it is started: its options, its messages, its end.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "acquisition/historywriter.h"
#include "acquisition_fixture.h"
#include "util/file.h"
#include "util/sqlite.h"

namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Program = test::AcquisitionTest;

constexpr char kOutputPath[] = "/tmp/acquisition-output";
constexpr char kErrorPath[] = "/tmp/acquisition-errors";

// What it is for: one run of the program, its output in files.
// Threads: one. Owns: the process, killed with the object when it still runs.
class ProgramRun {
 public:
  explicit ProgramRun(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), BRENNIK_ACQUISITION_SIMULATOR);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::filesystem::remove(kOutputPath);  // an earlier run's is not waited for

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, kOutputPath, kCreate, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, kErrorPath, kCreate, 0600);
    if (posix_spawn(&m_pid, argv[0], &files, nullptr, argv.data(), environ) != 0) m_pid = -1;
    posix_spawn_file_actions_destroy(&files);
  }
  ~ProgramRun() {
    if (m_pid < 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  // Waits until it has said what it publishes: then the segment is there.
  bool AwaitSummary() const {
    return test::Await([] { return test::ReadFile(kOutputPath).ends_with('\n'); });
  }
  void Signal(int number) const { kill(m_pid, number); }
  // The exit status, or 128 + the signal that ended it.
  int Wait() {
    int status = -1;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  static std::string Output() { return test::ReadFile(kOutputPath); }
  static std::string Errors() { return test::ReadFile(kErrorPath); }

 private:
  pid_t m_pid = -1;
};

TEST_F(Program, PublishesUntilItIsTerminatedAndRemovesTheSegment) {
  WriteSmallPlant();
  ProgramRun run({});
  ASSERT_TRUE(run.AwaitSummary());
  const auto raw = test::RawSegment::Read();

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 6U);
  EXPECT_FALSE(test::RawSegment::Read());
  EXPECT_EQ(
      ProgramRun::Output(),
      "publishing 6 records (AI 2, DI 1, ACC 1, DO 1, AO 1) under key 0x10903, every 1000 ms\n"
      "recording an alarm event every 60 s; 6 history rows every minute, from 0 minutes ago on\n");
  EXPECT_EQ(ProgramRun::Errors(), "");
}

TEST_F(Program, StopsOnAnInterruptToo) {
  WriteSmallPlant();
  ProgramRun run({"--period", "3600000"});
  ASSERT_TRUE(run.AwaitSummary());

  run.Signal(SIGINT);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_FALSE(test::RawSegment::Read());
}

TEST_F(Program, KeepsTheSegmentFresh) {
  WriteSmallPlant();
  ProgramRun run({"--period=1"});
  ASSERT_TRUE(run.AwaitSummary());

  ASSERT_TRUE(test::SpoilValue(3, -99'999));

  EXPECT_TRUE(test::Await([] { return test::RawSegment::Read()->Record(3).value != -99'999; }));
}

TEST_F(Program, CountsStrangersApart) {
  WriteSmallPlant();
  ProgramRun run({"--mode", "unknown"});
  ASSERT_TRUE(run.AwaitSummary());

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(ProgramRun::Output(),
              StartsWith("publishing 9 records (AI 3, DI 2, ACC 1, DO 1, AO 1, other 1)"));
}

TEST_F(Program, SaysThatItPublishesNoSegment) {
  WriteSmallPlant();
  ProgramRun run({"--mode=absent"});
  ASSERT_TRUE(run.AwaitSummary());

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(ProgramRun::Output(), StartsWith("publishing no segment\n"));
}

TEST_F(Program, StopsWritingTornValuesWhenTerminated) {
  WriteSmallPlant();
  ProgramRun run({"--mode=torn"});
  ASSERT_TRUE(run.AwaitSummary());

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_FALSE(test::RawSegment::Read());
}

TEST_F(Program, NamesADefinitionFileThatItCannotRead) {
  test::ChannelTemplate().Channel(1).Device(3, "/tessel/Config/missing.xml").Write();
  ProgramRun run({});
  ASSERT_TRUE(run.AwaitSummary());

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(ProgramRun::Errors(),
              HasSubstr("acquisition-simulator: cannot read a device definition from "
                        "/tessel/Config/missing.xml; its device has no points\n"));
}

TEST_F(Program, FailsWithoutATemplate) {
  ProgramRun run({"--template", "/tessel/none.xml"});

  EXPECT_EQ(run.Wait(), 1);
  EXPECT_THAT(
      ProgramRun::Errors(),
      HasSubstr("acquisition-simulator: cannot read a channel template from /tessel/none.xml\n"));
  EXPECT_EQ(ProgramRun::Output(), "");
}

TEST_F(Program, FailsWhereASegmentOfAnotherSizeStands) {
  WriteSmallPlant();
  test::LeaveStaleSegment(28);
  ProgramRun run({});

  EXPECT_EQ(run.Wait(), 1);
  EXPECT_EQ(
      ProgramRun::Errors(),
      "acquisition-simulator: a segment of 28 bytes stands under key 0x10903, where one of 148 is "
      "needed\n");
  EXPECT_EQ(ProgramRun::Output(), "");
}

TEST_F(Program, ReplacesAStaleSegmentWhenAskedTo) {
  WriteSmallPlant();
  test::LeaveStaleSegment(28);
  ProgramRun run({"--replace"});
  ASSERT_TRUE(run.AwaitSummary());

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 148U);
}

// Every event on the card, in whichever months a burst may lie.
std::size_t EventsOnTheCard() {
  std::size_t events = 0;
  for (const std::string& name : test::List("/media/mmcblk0p1")) {
    if (!name.ends_with("_event.db")) continue;
    util::Database database(("/media/mmcblk0p1/" + name).c_str());
    util::Statement count = database.Prepare("SELECT COUNT(*) FROM event_tbl");
    if (count.NextRow()) events += static_cast<std::size_t>(count.Integer(0));
  }
  return events;
}

class ProgramBurst : public test::AcquisitionTest, public testing::WithParamInterface<int> {};

TEST_P(ProgramBurst, IsOnTheCardWhenItIsSpokenOf) {
  WriteSmallPlant();
  const std::string number = std::to_string(GetParam());

  const ProgramRun run({"--burst", number, "--event-interval=0", "--no-history"});

  ASSERT_TRUE(run.AwaitSummary());
  EXPECT_EQ(EventsOnTheCard(), static_cast<std::size_t>(GetParam()));
  EXPECT_THAT(ProgramRun::Output(), HasSubstr("\nrecording " + number + " alarm events at once\n"));
}

INSTANTIATE_TEST_SUITE_P(Rows, ProgramBurst, testing::Values(1, 20, 21, 41));

TEST_F(Program, WritesAnEventWheneverTheIntervalIsOver) {
  test::DeviceFile station("station");
  for (int node = 1; node <= 1000; ++node) station.Node("DI", node, "Contact", "");
  station.Write();
  test::ChannelTemplate().Channel(1).Device(3, station.Path()).Write();

  const ProgramRun run({"--event-interval", "1", "--period=10", "--no-history"});

  ASSERT_TRUE(run.AwaitSummary());
  EXPECT_TRUE(test::Await([] { return EventsOnTheCard() >= 2; }));
  EXPECT_EQ(ProgramRun::Errors(), "");
}

TEST_F(Program, FillsInTheHistoryBeforeItSpeaksOfIt) {
  WriteSmallPlant();

  const ProgramRun run({"--history-minutes", "90", "--event-interval", "0"});

  ASSERT_TRUE(run.AwaitSummary());
  const auto rows = HistoryWriter().Rows(0x01031123);
  ASSERT_TRUE(rows);
  ASSERT_THAT(*rows, SizeIs(testing::Ge(90U)));
  EXPECT_EQ(rows->at(89).unixTime, rows->at(0).unixTime + 89 * 60);
  EXPECT_THAT(ProgramRun::Output(),
              HasSubstr("\nrecording 6 history rows every minute, from 90 minutes ago on\n"));
}

TEST_F(Program, MakesGapsAndOffMinuteRowsWhenAskedTo) {
  WriteSmallPlant();

  const ProgramRun run({"--history-minutes=60", "--history-gap=10", "--history-off-minute=20"});

  ASSERT_TRUE(run.AwaitSummary());
  const auto rows = HistoryWriter().Rows(0x01031123);
  ASSERT_TRUE(rows);
  std::size_t wholeMinutes = 0;
  for (const HistoryRow& row : *rows) {
    if (row.unixTime % 60 == 0) ++wholeMinutes;
    EXPECT_NE(row.unixTime % 600, 0);
  }
  EXPECT_GE(wholeMinutes, 54U);
  EXPECT_GE(rows->size() - wholeMinutes, 3U);
}

TEST_F(Program, LeavesTheCardAloneWhenAskedTo) {
  WriteSmallPlant();

  const ProgramRun run({"--event-interval=0", "--no-history"});

  ASSERT_TRUE(run.AwaitSummary());
  EXPECT_THAT(ProgramRun::Output(), HasSubstr("\nrecording nothing\n"));
  EXPECT_THAT(test::List("/media/mmcblk0p1"), testing::IsEmpty());
}

TEST_F(Program, TellsOfTroubleWithTheCardOnceAndOfItsEnd) {
  WriteSmallPlant();
  test::WriteFile("/media/mmcblk0p1/demand_history.db/in-the-way", "");
  const ProgramRun run({"--history-minutes=1", "--event-interval=0", "--period=1"});
  ASSERT_TRUE(run.AwaitSummary());

  std::filesystem::remove_all("/media/mmcblk0p1/demand_history.db");

  ASSERT_TRUE(test::Await([] { return ProgramRun::Errors().ends_with("again\n"); }));
  EXPECT_EQ(
      ProgramRun::Errors(),
      "acquisition-simulator: cannot write /media/mmcblk0p1/demand_history.db: unable to open "
      "database file; trying on\n"
      "acquisition-simulator: everything is recorded again\n");
  EXPECT_TRUE(HistoryWriter().Rows(0x01031123));
}

TEST_F(Program, ExplainsItselfWithEveryMode) {
  ProgramRun run({"--help"});

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(ProgramRun::Output(), StartsWith("Usage: acquisition-simulator"));
  for (const char* const mode :
       {"all", "subset", "unknown", "duplicates", "empty", "overcount", "tiny", "absent", "torn"}) {
    EXPECT_THAT(ProgramRun::Output(), HasSubstr("\n  " + std::string(mode) + " "));
  }
}

TEST_F(Program, ExplainsWhatItRecords) {
  ProgramRun run({"--help"});

  EXPECT_EQ(run.Wait(), 0);
  for (const char* const option : {"--event-interval S", "--burst N", "--history-minutes M",
                                   "--history-gap N", "--history-off-minute N", "--no-history"}) {
    EXPECT_THAT(ProgramRun::Output(), HasSubstr("\n  " + std::string(option) + " "));
  }
}

// What it is for: a command line that makes no sense, and what the program says to it.
struct BadCommandLine {
  std::vector<std::string> arguments;
  const char* message;
};

void PrintTo(const BadCommandLine& row, std::ostream* out) {
  *out << row.message;
}

class BadProgram : public test::AcquisitionTest,
                   public testing::WithParamInterface<BadCommandLine> {};

TEST_P(BadProgram, EndsWithStatusTwoAndAReason) {
  ProgramRun run(GetParam().arguments);

  EXPECT_EQ(run.Wait(), 2);
  EXPECT_EQ(ProgramRun::Errors(), std::string("acquisition-simulator: ") + GetParam().message +
                                      "; --help shows what there is\n");
  EXPECT_EQ(ProgramRun::Output(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BadProgram,
    testing::Values(
        BadCommandLine{{"--nonsense"}, "there is no option '--nonsense'"},
        BadCommandLine{{"template.xml"}, "there is no option 'template.xml'"},
        BadCommandLine{{"--help=yes"}, "there is no option '--help=yes'"},
        BadCommandLine{{"--mode"}, "--mode takes a value"},
        BadCommandLine{{"--mode", "half"}, "there is no mode 'half'"},
        BadCommandLine{{"--template="}, "--template takes a path"},
        BadCommandLine{{"--period", "0"}, "--period takes 1 to 3600000 milliseconds, not '0'"},
        BadCommandLine{{"--period=3600001"},
                       "--period takes 1 to 3600000 milliseconds, not '3600001'"},
        BadCommandLine{{"--period", "9s"}, "--period takes 1 to 3600000 milliseconds, not '9s'"},
        BadCommandLine{{"--period", ""}, "--period takes 1 to 3600000 milliseconds, not ''"},
        BadCommandLine{{"--event-interval", "-1"},
                       "--event-interval takes 0 to 86400 seconds, not '-1'"},
        BadCommandLine{{"--event-interval=86401"},
                       "--event-interval takes 0 to 86400 seconds, not '86401'"},
        BadCommandLine{{"--burst", "1001"}, "--burst takes 0 to 1000 events, not '1001'"},
        BadCommandLine{{"--burst", "many"}, "--burst takes 0 to 1000 events, not 'many'"},
        BadCommandLine{{"--history-minutes", "10081"},
                       "--history-minutes takes 0 to 10080 minutes, not '10081'"},
        BadCommandLine{{"--history-gap", "1441"},
                       "--history-gap takes 0 to 1440 minutes, not '1441'"},
        BadCommandLine{{"--history-off-minute", "1441"},
                       "--history-off-minute takes 0 to 1440 minutes, not '1441'"},
        BadCommandLine{{"--no-history=1"}, "there is no option '--no-history=1'"}));

}  // namespace
