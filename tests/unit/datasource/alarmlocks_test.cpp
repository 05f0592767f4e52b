// The alarm events while other programs lock their databases or write to them.
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <thread>

#include "alarmtest.h"
#include "support/eventdatabase.h"
#include "support/faults.h"

using test::Call;
using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr std::chrono::milliseconds kAMoment{50};  // long enough for what need not wait
constexpr char kReadLock[] = "begin; select * from event_tbl";
constexpr char kWriteLock[] = "begin immediate; update event_tbl set grade=9";
constexpr char kExclusiveLock[] = "begin exclusive";

class SharedAlarmReader : public test::AlarmTest {
 protected:
  void SetUp() override {
    AlarmTest::SetUp();
    EventDatabase(2024, 3).Add({.triggerValue = 1});
  }
  static test::DatabaseFile March() {
    return test::DatabaseFile(test::EventDatabasePathOf(2024, 3));
  }
};

TEST_F(SharedAlarmReader, WaitsTwentySecondsForALock) {
  Take();

  EXPECT_EQ(test::LatestLockWait(), 20000);
}

// Deliberate: the mark goes by the dates, not by the rows that were read.
TEST_F(SharedAlarmReader, MarksEventsThatCameAfterTheReading) {
  EventDatabase database(2024, 3);
  test::AtNextCall(Call::kSqliteExec, [&] {
    database.Add({.triggerValue = 2});
    database.Add({.date = "2024-03-08", .triggerValue = 3});
  });

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1", "0"));
}

class AlarmReaderLocks : public SharedAlarmReader,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(AlarmReaderLocks, WaitsForAShortLock) {
  test::DatabaseFile other = March();
  other.Run(GetParam());
  std::thread holder([&] {
    std::this_thread::sleep_for(kAMoment);
    other.Run("rollback");
  });

  const Events first = Take();
  holder.join();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(Take(), IsEmpty());
}

TEST_P(AlarmReaderLocks, LosesNothingWhenTheLockLasts) {
  test::DatabaseFile other = March();
  other.Run(GetParam());
  {
    const test::NoLockWaits impatient;
    Take();
  }
  other.Run("rollback");

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(Locks, AlarmReaderLocks,
                         ::testing::Values(kReadLock, kWriteLock, kExclusiveLock));

TEST_F(SharedAlarmReader, KeepsOtherReadingsOutUntilTheMark) {
  std::future<void> other;
  bool waited = false;
  test::AtNextCall(Call::kSqliteExec, [&] {
    other = std::async(std::launch::async, [] { Take(); });
    waited = other.wait_for(kAMoment) == std::future_status::timeout;
  });

  Take();

  EXPECT_TRUE(waited);
}

}  // namespace
