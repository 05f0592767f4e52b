// The scheduler: the tree on the card and the life of the workers.
#include "schedule/schedule.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <set>
#include <type_traits>

#include "schedule/workers.h"
#include "support/configs.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "support/threads.h"
#include "systemtap.h"
#include "util/paths.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

using test::LogRecord;
using test::ThreadEntry;

static_assert(!std::is_copy_constructible_v<CSchedule>);

constexpr Interval_Info kAllOff{-1, -1, -1, -1, -1};
constexpr Interval_Info kAllOn{300, 30, 600, 60, 77};

// The workers in their order.
const std::vector<ThreadEntry> kWorkers{HandleRealData, HandleRealAlarm, HandleHeart, HandleFail,
                                        HandleRecall};

std::vector<ThreadEntry> FirstWorkers(int count) {
  return {kWorkers.begin(), kWorkers.begin() + count};
}

class Schedule : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::ForgetThreads();
    test::ForgetJoins();
  }

  // Ends the workers at the pause that each comes to, so that they can be joined.
  static void EndWorkers(const std::vector<ThreadEntry>& workers = kWorkers) {
    for (const ThreadEntry entry : workers) {
      EXPECT_TRUE(test::AwaitParked(entry, 1));
      test::EndThreads(entry);
    }
  }
};

TEST_F(Schedule, RefusesANullPointer) {
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(nullptr), -1);
  EXPECT_FALSE(test::Exists("/media/mmcblk0p1/Cloud"));
  EXPECT_THAT(test::ThreadsMade(), IsEmpty());
}

TEST_F(Schedule, BringsTheTreeToTheCard) {
  bool treeIsThere = false;
  test::AtNextCall(test::Call::kFsync,
                   [&] { treeIsThere = test::Exists(paths::kLedgerDirectory); });
  Interval_Info intervals = kAllOff;

  CSchedule().Init(&intervals);

  EXPECT_TRUE(treeIsThere);
}

TEST_F(Schedule, MakesExactlyThisTree) {
  std::set<std::string> expected{"Cloud",
                                 "Cloud/DB",
                                 "Cloud/JsonFiles",
                                 "Cloud/JsonFiles/calldata",
                                 "Cloud/JsonFiles/realdata",
                                 "Cloud/JsonFiles/alarmdata"};
  for (int day = 1; day <= 31; ++day) {
    expected.insert("Cloud/JsonFiles/realdata/" + std::to_string(day));
    expected.insert("Cloud/JsonFiles/alarmdata/" + std::to_string(day));
  }
  Interval_Info intervals = kAllOff;

  EXPECT_EQ(CSchedule().Init(&intervals), 0);

  std::set<std::string> made;
  for (const auto& entry : fs::recursive_directory_iterator("/media/mmcblk0p1")) {
    EXPECT_TRUE(entry.is_directory()) << entry.path();
    made.insert(fs::relative(entry.path(), "/media/mmcblk0p1"));
  }
  EXPECT_EQ(made, expected);
}

TEST_F(Schedule, MakesDirectoriesThatOnlyRootWritesTo) {
  const mode_t before = umask(0);
  Interval_Info intervals = kAllOff;
  CSchedule().Init(&intervals);
  umask(before);

  for (const auto& entry : fs::recursive_directory_iterator("/media/mmcblk0p1")) {
    EXPECT_EQ(static_cast<unsigned>(entry.status().permissions()), 0755U) << entry.path();
  }
}

TEST_F(Schedule, KeepsWhatIsInTheTree) {
  const std::string file = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";
  test::WriteFile(file, "archive");
  Interval_Info intervals = kAllOff;

  EXPECT_EQ(CSchedule().Init(&intervals), 0);
  EXPECT_EQ(test::ReadFile(file), "archive");
}

TEST_F(Schedule, StartsTheWorkersAlsoWhenTheTreeCannotBeMade) {
  test::WriteFile("/media/mmcblk0p1/Cloud", "a file where the tree should stand");
  Interval_Info intervals = kAllOn;
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);
  EXPECT_EQ(test::ThreadsMade(), kWorkers);

  EndWorkers();
}

struct Wanted {
  const char* name;
  Interval_Info intervals;
  std::vector<ThreadEntry> made;
};

void PrintTo(const Wanted& wanted, std::ostream* out) {
  *out << wanted.name;
}

class WantedWorkers : public Schedule, public ::testing::WithParamInterface<Wanted> {};

TEST_P(WantedWorkers, AreStartedInTheirOrder) {
  Interval_Info intervals = GetParam().intervals;
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);

  EXPECT_EQ(test::ThreadsMade(), GetParam().made);
  EXPECT_THAT(test::DatabaseLog("FATAL"), IsEmpty());
  EndWorkers(GetParam().made);
}

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

INSTANTIATE_TEST_SUITE_P(
    Intervals, WantedWorkers,
    ::testing::Values(Wanted{"All", kAllOn, kWorkers},
                      Wanted{"AllEverySecond", {1, 1, 1, 1, 1}, kWorkers},
                      Wanted{"None", kAllOff, {}}, Wanted{"NoneWithZero", {0, 0, 0, 0, 0}, {}},
                      Wanted{
                          "NoneWithTheLowest", {kLowest, kLowest, kLowest, kLowest, kLowest}, {}},
                      Wanted{"OnlyRealData", {300, -1, -1, -1, -1}, {HandleRealData}},
                      Wanted{"OnlyAlarms", {-1, 30, -1, -1, -1}, {HandleRealAlarm}},
                      Wanted{"OnlyHeart", {-1, -1, 600, -1, -1}, {HandleHeart}},
                      Wanted{"OnlyUpload", {0, 0, 0, 60, 0}, {HandleFail}},
                      Wanted{"OnlyRecall", {0, 0, 0, 0, 77}, {HandleRecall}},
                      Wanted{"AllButAlarms",
                             {300, 0, 600, 60, 77},
                             {HandleRealData, HandleHeart, HandleFail, HandleRecall}},
                      Wanted{"AllButRecallWithMinus1", {300, 30, 600, 60, -1}, FirstWorkers(4)},
                      Wanted{"AllButRecallWithZero", {300, 30, 600, 60, 0}, FirstWorkers(4)}),
    [](const auto& test) { return test.param.name; });

TEST_F(Schedule, GivesEveryWorkerItsOwnInterval) {
  Interval_Info intervals = kAllOn;
  CSchedule schedule;
  schedule.Init(&intervals);

  std::vector<void*> arguments;
  for (const auto& thread : test::ThreadsMadeInFull()) arguments.push_back(thread.argument);
  EXPECT_THAT(arguments,
              ElementsAre(&intervals.realDataInv, &intervals.alarmDataInv, &intervals.heartBeatInv,
                          &intervals.checkFailInv, &intervals.recallInv));

  EndWorkers();
}

// The number of workers that start before one fails.
class FailingWorker : public Schedule, public ::testing::WithParamInterface<int> {};

TEST_P(FailingWorker, HoldsBackThoseBehindIt) {
  Interval_Info intervals = kAllOn;
  test::FailCalls(test::Call::kSetDetachState, 1, GetParam());
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);
  EXPECT_EQ(test::ThreadsMade(), FirstWorkers(GetParam()));
  EXPECT_THAT(test::DatabaseLog("FATAL"),
              ElementsAre("Failed to set joinable state for File creating thread, error: "
                          "Invalid argument\n"));

  EndWorkers(FirstWorkers(GetParam()));
}

TEST_P(FailingWorker, IsReturned) {
  Interval_Info intervals = kAllOff;
  CSchedule schedule;
  schedule.Init(&intervals);
  intervals = kAllOn;
  test::FailCalls(test::Call::kSetDetachState, 1, GetParam());

  EXPECT_EQ(schedule.CreateAllThread(), -1);
  EXPECT_EQ(test::ThreadsMade(), FirstWorkers(GetParam()));

  EndWorkers(FirstWorkers(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Behind, FailingWorker, ::testing::Range(0, 5));

TEST_F(Schedule, StartsNoFurtherWorkerBehindAThreadThatCannotBeCreated) {
  Interval_Info intervals = kAllOn;
  test::FailNextThread();
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);
  EXPECT_THAT(test::ThreadsMade(), ElementsAre(ThreadEntry{HandleRealData}));
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"FATAL",
                                    "Failed to create new thread, error: Resource temporarily "
                                    "unavailable\n"}));
}

TEST_F(Schedule, StartsAllWorkersOfTheIntervalsItKeeps) {
  Interval_Info intervals = kAllOff;
  CSchedule schedule;
  schedule.Init(&intervals);
  intervals = kAllOn;

  EXPECT_EQ(schedule.CreateAllThread(), 0);
  EXPECT_EQ(test::ThreadsMade(), kWorkers);

  EndWorkers();
}

TEST_F(Schedule, StartsNothingBeforeItHasIntervals) {
  CSchedule schedule;

  EXPECT_EQ(schedule.CreateAllThread(), -1);
  EXPECT_THAT(test::ThreadsMade(), IsEmpty());
}

std::vector<pthread_t> IdsInOrder() {
  std::vector<pthread_t> ids;
  for (const auto& thread : test::ThreadsMadeInFull()) ids.push_back(thread.id);
  return ids;
}

TEST_F(Schedule, JoinsAllWorkersInTheirOrder) {
  Interval_Info intervals = kAllOn;
  CSchedule schedule;
  schedule.Init(&intervals);
  EndWorkers();

  schedule.DelAllThread();

  EXPECT_EQ(test::Joined().size(), 5U);
  EXPECT_EQ(test::Joined(), IdsInOrder());
}

TEST_F(Schedule, JoinsTheWorkersThatThereAre) {
  Interval_Info intervals{-1, 30, -1, 60, -1};
  CSchedule schedule;
  schedule.Init(&intervals);
  EndWorkers({HandleRealAlarm, HandleFail});

  schedule.DelAllThread();

  EXPECT_EQ(test::Joined().size(), 2U);
  EXPECT_EQ(test::Joined(), IdsInOrder());
}

TEST_F(Schedule, ForgetsTheWorkersItHasJoined) {
  Interval_Info intervals = kAllOn;
  CSchedule schedule;
  schedule.Init(&intervals);
  EndWorkers();
  schedule.DelAllThread();
  test::ForgetJoins();

  schedule.DelAllThread();

  EXPECT_THAT(test::Joined(), IsEmpty());
}

TEST_F(Schedule, JoinsTheWorkersWhenItIsDestroyed) {
  Interval_Info intervals = kAllOn;
  {
    CSchedule schedule;
    schedule.Init(&intervals);
    EndWorkers();
  }

  EXPECT_EQ(test::Joined().size(), 5U);
  EXPECT_EQ(test::Joined(), IdsInOrder());
}

TEST_F(Schedule, IsOneObject) {
  EXPECT_EQ(&GetCScheduleInstance(), &GetCScheduleInstance());
}

void* Remember(void* argument) {
  *static_cast<std::int32_t*>(argument) += 1;
  return nullptr;
}

void* SleepForGood(void* /*unused*/) {
  sleep(1);
  return nullptr;
}

class OneThread : public Schedule {
 protected:
  CSchedule m_schedule;
  pthread_t m_thread = 0;
  std::int32_t m_interval = 41;
};

TEST_F(OneThread, GetsItsIntervalAndIsJoined) {
  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, Remember), 0);
  EXPECT_NE(m_thread, 0U);
  const pthread_t started = m_thread;

  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), 0);
  EXPECT_EQ(m_interval, 42);
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(test::Joined(), ElementsAre(started));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(OneThread, IsJoinableWithAStackOfTwoMebibytes) {
  m_schedule.CreateOneThread(&m_thread, &m_interval, Remember);

  EXPECT_EQ(test::LatestThread().stackBytes, 0x200000U);
  EXPECT_FALSE(test::LatestThread().detached);

  m_schedule.DelOneThread(&m_thread);
}

TEST_F(OneThread, IsNotStartedWhenItIsNotWanted) {
  for (const std::int32_t interval : {0, -1, -300, std::numeric_limits<std::int32_t>::min()}) {
    m_interval = interval;
    EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, Remember), 0);
  }
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(test::ThreadsMade(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(OneThread, ThatCannotBeCreatedIsFatal) {
  test::FailNextThread();

  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, Remember), -1);
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"FATAL",
                                    "Failed to create new thread, error: Resource temporarily "
                                    "unavailable\n"}));
}

TEST_F(OneThread, WhoseDetachStateCannotBeSetIsFatal) {
  test::FailCalls(test::Call::kSetDetachState);

  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, Remember), -1);
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(test::ThreadsMade(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"FATAL",
                                    "Failed to set joinable state for File creating thread, error: "
                                    "Invalid argument\n"}));
}

TEST_F(OneThread, ThatDoesNotExistIsNotJoined) {
  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), 0);
  EXPECT_THAT(test::Joined(), IsEmpty());
}

TEST_F(OneThread, ThatCannotBeJoinedGivesTheJoinsResultAndIsForgotten) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer reports such a join by itself";
#endif
  m_schedule.CreateOneThread(&m_thread, &m_interval, SleepForGood);
  ASSERT_TRUE(test::AwaitParked(SleepForGood, 1));
  pthread_detach(m_thread);

  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), EINVAL);
  EXPECT_EQ(m_thread, 0U);

  test::EndThreads(SleepForGood);
}

}  // namespace
