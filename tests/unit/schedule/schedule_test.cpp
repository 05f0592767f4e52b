// The scheduler: the tree on the card and the life of the workers.
#include "schedule/schedule.h"

#include <pthread.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <set>

#include "schedule/workers.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "support/threads.h"
#include "systemtap.h"
#include "util/paths.h"

namespace {

using namespace test;
using namespace testing;

constexpr Interval_Info kAllOff{-1, -1, -1, -1, -1};
constexpr Interval_Info kAllOn{300, 30, 600, 60, 77};

// The workers in their order.
const std::vector<ThreadEntry> kWorkers{HandleRealData, HandleRealAlarm, HandleHeart, HandleFail,
                                        HandleRecall};

class Schedule : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    ForgetThreads();
    ForgetJoins();
  }

  // Ends the workers at their first pauses, so that they can be joined.
  static void EndWorkers() {
    for (const ThreadEntry entry : ThreadsMade()) {
      EXPECT_TRUE(AwaitParked(entry, 1));
      EndThreads(entry);
    }
  }

  static std::vector<pthread_t> Started() {
    std::vector<pthread_t> ids;
    for (const auto& thread : ThreadsMadeInFull()) ids.push_back(thread.id);
    return ids;
  }
};

TEST_F(Schedule, RefusesANullPointerAndStartsNothingWithoutIntervals) {
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(nullptr), -1);
  EXPECT_EQ(schedule.CreateAllThread(), -1);
  EXPECT_FALSE(Exists("/media/mmcblk0p1/Cloud"));
  EXPECT_THAT(ThreadsMade(), IsEmpty());
}

TEST_F(Schedule, SyncsExactlyTheTreeThatOnlyRootWritesTo) {
  const std::string files = "Cloud/JsonFiles";
  std::set<std::string> expected{"Cloud", "Cloud/DB", files, files + "/calldata"};
  for (const std::string kind : {"/realdata", "/alarmdata"}) {
    expected.insert(files + kind);
    for (int day = 1; day <= 31; ++day) expected.insert(files + kind + "/" + std::to_string(day));
  }
  bool isWholeAtTheSync = false;
  AtNextCall(Call::kFsync, [&] { isWholeAtTheSync = Exists(paths::kLedgerDirectory); });
  const mode_t before = umask(0);
  Interval_Info intervals = kAllOff;

  EXPECT_EQ(CSchedule().Init(&intervals), 0);
  umask(before);

  std::set<std::string> made;
  for (const auto& entry : std::filesystem::recursive_directory_iterator("/media/mmcblk0p1")) {
    EXPECT_TRUE(entry.is_directory()) << entry.path();
    EXPECT_EQ(static_cast<unsigned>(entry.status().permissions()), 0755U) << entry.path();
    made.insert(std::filesystem::relative(entry.path(), "/media/mmcblk0p1"));
  }
  EXPECT_EQ(made, expected);
  EXPECT_TRUE(isWholeAtTheSync);
}

TEST_F(Schedule, StartsTheWorkersAlsoWhenTheTreeCannotBeMade) {
  WriteFile("/media/mmcblk0p1/Cloud", "a file where the tree should stand");
  Interval_Info intervals = kAllOn;
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);
  EXPECT_EQ(ThreadsMade(), kWorkers);

  EndWorkers();
}

TEST_F(Schedule, StartsNoWorkerWhoseIntervalIsBelowOne) {
  Interval_Info intervals{0, 1, -1, 1, std::numeric_limits<std::int32_t>::min()};
  CSchedule schedule;

  EXPECT_EQ(schedule.Init(&intervals), 0);
  EXPECT_THAT(ThreadsMade(), ElementsAre(ThreadEntry{HandleRealAlarm}, ThreadEntry{HandleFail}));
  EXPECT_THAT(DatabaseLog("FATAL"), IsEmpty());

  EndWorkers();
}

TEST_F(Schedule, HoldsBackTheWorkersBehindOneThatCannotBeStarted) {
  for (int started = 0; started < 5; ++started) {
    SCOPED_TRACE(started);
    Interval_Info intervals = kAllOff;
    CSchedule schedule;
    schedule.Init(&intervals);
    intervals = kAllOn;
    ForgetThreads();
    FailCalls(Call::kSetDetachState, 1, started);

    EXPECT_EQ(schedule.CreateAllThread(), -1);
    EXPECT_EQ(ThreadsMade(), std::vector(kWorkers.begin(), kWorkers.begin() + started));

    EndWorkers();
  }
}

TEST_F(Schedule, SucceedsAlsoWhenAWorkerCannotBeStarted) {
  Interval_Info intervals = kAllOn;
  FailCalls(Call::kSetDetachState);

  EXPECT_EQ(CSchedule().Init(&intervals), 0);
}

TEST_F(Schedule, StartsEveryWorkerWithItsOwnOfTheIntervalsItKeeps) {
  Interval_Info intervals = kAllOff;
  CSchedule schedule;
  schedule.Init(&intervals);
  intervals = kAllOn;

  EXPECT_EQ(schedule.CreateAllThread(), 0);

  std::vector<void*> arguments;
  for (const auto& thread : ThreadsMadeInFull()) arguments.push_back(thread.argument);
  EXPECT_THAT(arguments,
              ElementsAre(&intervals.realDataInv, &intervals.alarmDataInv, &intervals.heartBeatInv,
                          &intervals.checkFailInv, &intervals.recallInv));
  EndWorkers();
}

TEST_F(Schedule, JoinsAllWorkersOnceInTheirOrder) {
  Interval_Info intervals = kAllOn;
  CSchedule schedule;
  schedule.Init(&intervals);
  EndWorkers();

  schedule.DelAllThread();
  schedule.DelAllThread();

  EXPECT_EQ(Joined(), Started());
}

TEST_F(Schedule, JoinsTheWorkersWhenItIsDestroyed) {
  Interval_Info intervals{-1, 30, -1, 60, -1};
  {
    CSchedule schedule;
    schedule.Init(&intervals);
    EndWorkers();
  }

  EXPECT_EQ(Joined().size(), 2U);
  EXPECT_EQ(Joined(), Started());
}

void* AddOne(void* argument) {
  *static_cast<std::int32_t*>(argument) += 1;
  return nullptr;
}

class OneThread : public Schedule {
 protected:
  CSchedule m_schedule;
  pthread_t m_thread = 0;
  std::int32_t m_interval = 41;
};

TEST_F(OneThread, RunsTheWorkerOnAStackOfTwoMebibytesAndJoinsIt) {
  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, AddOne), 0);
  const pthread_t started = m_thread;
  EXPECT_EQ(LatestThread().stackBytes, 0x200000U);
  EXPECT_FALSE(LatestThread().detached);

  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), 0);
  EXPECT_EQ(m_interval, 42);
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(Joined(), ElementsAre(started));
}

TEST_F(OneThread, ReportsAThreadThatCannotBeCreated) {
  FailNextThread();

  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, AddOne), -1);
  EXPECT_EQ(m_thread, 0U);
  EXPECT_THAT(DatabaseLog(),
              ElementsAre(LogRecord{"FATAL",
                                    "Failed to create new thread, error: Resource temporarily "
                                    "unavailable\n"}));
}

TEST_F(OneThread, ReportsADetachStateThatCannotBeSet) {
  FailCalls(Call::kSetDetachState);

  EXPECT_EQ(m_schedule.CreateOneThread(&m_thread, &m_interval, AddOne), -1);
  EXPECT_THAT(ThreadsMade(), IsEmpty());
  EXPECT_THAT(DatabaseLog(),
              ElementsAre(LogRecord{"FATAL",
                                    "Failed to set joinable state for File creating thread, error: "
                                    "Invalid argument\n"}));
}

TEST_F(OneThread, JoinsNothingWhenThereIsNoThread) {
  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), 0);
  EXPECT_THAT(Joined(), IsEmpty());
}

TEST_F(OneThread, ForgetsAThreadThatCannotBeJoined) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer reports such a join by itself";
#endif
  m_thread = pthread_self();

  EXPECT_EQ(m_schedule.DelOneThread(&m_thread), EDEADLK);
  EXPECT_EQ(m_thread, 0U);
}

}  // namespace
