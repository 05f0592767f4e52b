// The alarm events where other programs lock their databases, or write meanwhile.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "alarmtest.h"
#include "support/eventdatabase.h"
#include "support/faults.h"

using test::Call;
using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr std::chrono::milliseconds kAMoment{50};  // long enough for what need not wait
constexpr std::chrono::seconds kPatience{20};      // a deadline for a broken test

std::string March() {
  return test::EventDatabasePathOf(2024, 3);
}

class SharedAlarms : public test::AlarmTest {};

// Deliberate: what reaches the file between reading and marking goes by the range of dates.
TEST_F(SharedAlarms, AreMarkedAlsoWhereTheyCameBetweenReadingAndMarking) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::AtNextCall(Call::kSqliteExec, [&] {
    database.Add({.triggerValue = 2});
    database.Add({.date = "2024-03-08", .triggerValue = 3});
  });

  const Events first = Take();
  const Events second = Take();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(second, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1", "0"));
}

struct Lock {
  const char* name;
  const char* statements;
};

std::string NameOf(const ::testing::TestParamInfo<Lock>& test) {
  return test.param.name;
}

constexpr Lock kReadLock{"Read", "begin; select * from event_tbl"};
constexpr Lock kWriteLock{"Write", "begin immediate; update event_tbl set grade=9"};
constexpr Lock kExclusiveLock{"Exclusive", "begin exclusive"};

class LockedAlarms : public SharedAlarms, public ::testing::WithParamInterface<Lock> {};

TEST_P(LockedAlarms, ComeOnceWhenTheLockIsShort) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::DatabaseFile other(March());
  other.Run(GetParam().statements);
  std::thread holder([&] {
    std::this_thread::sleep_for(kAMoment);
    other.Run("rollback");
  });

  const Events first = Take();
  holder.join();
  const Events second = Take();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(second, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1"));
}

TEST_P(LockedAlarms, AreNotLostWhenTheLockOutlastsEveryPatience) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::DatabaseFile other(March());
  other.Run(GetParam().statements);
  {
    const test::NoLockWaits impatient;
    Take();
  }
  other.Run("rollback");

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1));
  EXPECT_THAT(database.Uploads(), ElementsAre("1"));
}

INSTANTIATE_TEST_SUITE_P(Locks, LockedAlarms,
                         ::testing::Values(kReadLock, kWriteLock, kExclusiveLock), NameOf);

TEST_F(SharedAlarms, ThatAnotherIsReadingComeWithoutAMark) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::DatabaseFile other(March());
  other.Run(kReadLock.statements);
  const test::NoLockWaits impatient;
  Events events;

  const std::uint32_t result = Visit(&events);

  other.Run("rollback");
  EXPECT_EQ(result, 0U);
  EXPECT_THAT(ValuesOf(events), ElementsAre(1));
  EXPECT_THAT(database.Uploads(), ElementsAre("0"));
}

TEST_F(SharedAlarms, UnderAnExclusiveLockFailTheVisit) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::DatabaseFile other(March());
  other.Run(kExclusiveLock.statements);
  const test::NoLockWaits impatient;
  Events events;

  const std::uint32_t result = Visit(&events);

  other.Run("rollback");
  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(events, IsEmpty());
}

// The lock comes after the query has been prepared, and goes before the mark.
TEST_F(SharedAlarms, ThatALockKeepsFromBeingReadAreNotMarked) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::DatabaseFile other(March());
  test::AtNextCall(Call::kSqliteStep, [&] {
    other.Run(kExclusiveLock.statements);
    test::AtNextCall(Call::kSqliteExec, [&] { other.Run("rollback"); });
  });
  const test::NoLockWaits impatient;
  Events events;

  const std::uint32_t result = Visit(&events);

  other.Try("rollback");
  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("0"));
}

class AlarmVisit : public SharedAlarms, public ::testing::WithParamInterface<Call> {};

TEST_P(AlarmVisit, KeepsOtherVisitsOutUntilItsEnd) {
  EventDatabase(2024, 3).Add();
  std::future<std::uint32_t> other;
  bool waited = false;
  test::AtNextCall(GetParam(), [&] {
    other = std::async(std::launch::async, [] {
      Events events;
      return Visit(&events);
    });
    waited = other.wait_for(kAMoment) == std::future_status::timeout;
  });

  Take();

  EXPECT_TRUE(waited);
  ASSERT_EQ(other.wait_for(kPatience), std::future_status::ready);
  EXPECT_EQ(other.get(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Calls, AlarmVisit,
                         ::testing::Values(Call::kSqliteOpen, Call::kSqlitePrepare,
                                           Call::kSqliteStep, Call::kSqliteExec),
                         [](const auto& test) {
                           switch (test.param) {
                             case Call::kSqliteOpen:
                               return "Opening";
                             case Call::kSqlitePrepare:
                               return "Asking";
                             case Call::kSqliteStep:
                               return "Reading";
                             default:
                               return "Marking";
                           }
                         });

TEST_F(SharedAlarms, OfAProgramThatGoesOnWritingComeOnce) {
  constexpr int kEvents = 60;
  { const EventDatabase made(2024, 3); }
  const pid_t child = fork();
  if (child == 0) {
    EventDatabase writer(2024, 3);
    for (int i = 0; i < kEvents; ++i) writer.Add({.triggerValue = static_cast<double>(i)});
    _exit(0);
  }

  std::vector<double> values;
  int status = -1;
  for (bool ended = false; !ended;) {
    ended = waitpid(child, &status, WNOHANG) == child;  // one more turn takes the rest
    for (const double value : ValuesOf(Take())) values.push_back(value);
  }

  EventDatabase database(2024, 3);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(values, SizeIs(std::set<double>(values.begin(), values.end()).size()));
  EXPECT_THAT(database.Uploads(), SizeIs(kEvents));
  EXPECT_THAT(database.Uploads(), Each("1"));
}

}  // namespace
