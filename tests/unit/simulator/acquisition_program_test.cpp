// The acquisition side as a program: what it publishes and records, and its end.
#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "acquisition_fixture.h"
#include "program/control.h"
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

// A program that takes orders and does nothing but publish.
struct ToldAcquisition : AcquisitionTest {
  void SetUp() override {
    AcquisitionTest::SetUp();
    WriteSmallPlant();
    run.emplace(BRENNIK_ACQUISITION_SIMULATOR,
                "--period=1 --event-interval 0 --no-history --control /tmp/acquisition.sock");
    ASSERT_NE(run->ReadLine(), "");
    ASSERT_TRUE(Await([&] { return Tell(R"({"do":"state"})").empty(); }));
  }
  // Why it was not carried out; empty when it was.
  static std::string Tell(const std::string& order) {
    return program::ControlClient("/tmp/acquisition.sock").Call(order).error;
  }
  // Whether the count word and the first two identifiers become these.
  static bool AwaitRecords(std::uint32_t count, std::uint32_t first, std::uint32_t second) {
    return Await([=] {
      const std::string raw = RawSegment();
      return At<std::uint32_t>(raw, 0) == count && At<std::uint32_t>(raw, 4) == first &&
             At<std::uint32_t>(raw, 4 + 24) == second;
    });
  }

  static constexpr std::uint32_t kFirst = 0x01030001;
  static constexpr std::uint32_t kSecond = 0x01030002;
  static constexpr std::uint32_t kThird = 0x01030205;
  std::optional<ProgramRun> run;
};

TEST_F(ToldAcquisition, PublishesWhatItIsToldUntilItIsToldOtherwise) {
  EXPECT_EQ(Tell(R"({"do":"empty"})"), "");
  EXPECT_TRUE(AwaitRecords(0, kFirst, kSecond));
  EXPECT_EQ(Tell(R"({"do":"normal"})"), "");
  EXPECT_TRUE(AwaitRecords(6, kFirst, kSecond));

  EXPECT_EQ(Tell(R"({"do":"leave-out"})"), "");
  EXPECT_TRUE(AwaitRecords(5, kSecond, kThird));
  EXPECT_EQ(Tell(R"({"do":"leave-out","data_id":16973826})"), "");
  EXPECT_TRUE(AwaitRecords(5, kFirst, kThird));
  EXPECT_EQ(program::ControlClient("/tmp/acquisition.sock").Call(R"({"do":"state"})").line,
            R"({"ok":true,"paused":false,"empty":false,"left_out":16973826,"points":6})");

  EXPECT_EQ(Tell(R"({"do":"leave-out","data_id":5})"), "there is no point 5");
  EXPECT_EQ(Tell(R"({"do":"dance"})"), "there is no order 'dance'");
}

TEST_F(ToldAcquisition, RecordsABurstOfEvents) {
  constexpr std::int64_t kDaySeconds = 86'400;
  const auto events = [] {
    const std::int64_t now = std::time(nullptr);
    std::size_t count = EventWriter().Rows(now).value_or(std::vector<EventRow>()).size();
    if (EventDatabasePath(now) == EventDatabasePath(now - kDaySeconds)) return count;
    return count + EventWriter().Rows(now - kDaySeconds).value_or(std::vector<EventRow>()).size();
  };

  EXPECT_EQ(Tell(R"({"do":"burst","events":30})"), "");

  EXPECT_TRUE(Await([&] { return events() == 30; }));
  EXPECT_NE(Tell(R"({"do":"burst","events":0})"), "");
}

TEST_F(ToldAcquisition, WritesNothingWhilePaused) {
  ASSERT_EQ(Tell(R"({"do":"pause"})"), "");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // a write may be under way
  volatile auto* const words =
      static_cast<volatile std::uint32_t*>(shmat(shmget(kRawKey, 0, 0), nullptr, 0));

  words[1] = 5;
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // 50 periods
  EXPECT_EQ(words[1], 5U);

  ASSERT_EQ(Tell(R"({"do":"normal"})"), "");
  EXPECT_TRUE(Await([&] { return words[1] == kFirst; }));
}

}  // namespace
