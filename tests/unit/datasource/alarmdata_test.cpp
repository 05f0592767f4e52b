// The alarm events of the last three days, taken from the monthly databases on the card.
#include "datasource/alarmdata.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "support/clock.h"
#include "support/eventdatabase.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

using Events = std::vector<Alarm_Data_Para>;
using namespace test;
using namespace testing;

constexpr std::chrono::milliseconds kAMoment{50};  // long enough for what need not wait

// The values that raised the events; the tests tell events by them.
std::vector<double> ValuesOf(const Events& events) {
  std::vector<double> values;
  for (const auto& event : events) values.push_back(event.triggervalue);
  return values;
}

class AlarmReader : public GatewayTest {
 protected:
  // One round of the alarm worker.
  static Events Take() {
    Events events;
    EXPECT_EQ(GetCAlarmDataInstance().GetAlarmData(&events), 0U);
    return events;
  }
  // Reads the file of March 2024 for the dates from the 4th to the 7th.
  static int Read(Events& events) {
    std::tm from{};
    from.tm_year = 124;
    from.tm_mon = 2;
    from.tm_mday = 4;
    std::tm to = from;
    to.tm_mday = 7;
    return static_cast<int>(GetCAlarmDataInstance().GetDataFromDB(&events, &to, &from, &to));
  }
};

TEST_F(AlarmReader, TakesEveryFieldOfARow) {
  EventDatabase(2024, 3).Add({.date = "2024-03-06",
                              .clock = "09:08:07",
                              .dataId = 0xC1031123,
                              .threshold = -80.25,
                              .triggerValue = 81.0000001,
                              .type = 7,
                              .grade = 3,
                              .upFlag = -2});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].time, LocalTimeOf(2024, 3, 6, 9, 8, 7));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].DataId), 0xC1031123U);
  EXPECT_EQ(events[0].threshold, -80.25);
  EXPECT_EQ(events[0].triggervalue, 81.0000001);
  EXPECT_EQ(events[0].eventtype, 7);
  EXPECT_EQ(events[0].grade, 3);
  EXPECT_EQ(events[0].upflag, -2);
}

TEST_F(AlarmReader, AppendsEventsMarkedZeroInTheOrderOfTheirRecordingAndMarksThem) {
  EventDatabase database(2024, 3);
  database.AddAll({{.clock = "11:00:00", .triggerValue = 2},
                   {.date = "2024-03-05", .triggerValue = 3},
                   {.clock = "10:00:00", .triggerValue = 4},
                   {.upload = 2},
                   {.upload = -1}});
  Events events(1);

  GetCAlarmDataInstance().GetAlarmData(&events);

  EXPECT_THAT(ValuesOf(events), ElementsAre(0, 2, 3, 4));
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1", "1", "2", "-1"));
  EXPECT_THAT(Take(), IsEmpty());
}

TEST_F(AlarmReader, ReachesFromThreeDaysAgoToToday) {
  EventDatabase database(2024, 3);
  database.AddAll({{.date = "2024-03-03", .clock = "23:59:59", .triggerValue = 0},
                   {.date = "2024-03-04", .clock = "00:00:00", .triggerValue = 1},
                   {.date = "2024-03-07", .clock = "23:59:59", .triggerValue = 2},  // to come
                   {.date = "2024-03-08", .clock = "00:00:00", .triggerValue = 0},
                   {.date = "2023-03-05", .triggerValue = 0},
                   {.date = "2024-3-5", .triggerValue = 0}});

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1, 2));
  EXPECT_THAT(database.Uploads(), ElementsAre("0", "1", "1", "0", "0", "0"));
}

TEST_F(AlarmReader, ReadsTheMonthBeforeFirst) {
  SetTime(LocalTimeOf(2024, 3, 2, 2));
  EventDatabase march(2024, 3);
  march.AddAll({{.date = "2024-03-02", .triggerValue = 4},
                {.date = "2024-02-28", .triggerValue = 3},
                {.date = "2024-02-27", .triggerValue = 0}});
  EventDatabase february(2024, 2);
  february.AddAll({{.date = "2024-02-27", .triggerValue = 0},
                   {.date = "2024-02-28", .triggerValue = 1},
                   {.date = "2024-03-02", .triggerValue = 2}});

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1, 2, 4, 3));
  EXPECT_THAT(february.Uploads(), ElementsAre("0", "1", "1"));
  EXPECT_THAT(march.Uploads(), ElementsAre("1", "1", "0"));
}

TEST_F(AlarmReader, ReadsAcrossTheTurnOfTheYear) {
  SetTime(LocalTimeOf(2024, 1, 1));
  EventDatabase(2023, 12).AddAll(
      {{.date = "2023-12-28", .triggerValue = 0}, {.date = "2023-12-29", .triggerValue = 1}});
  EventDatabase(2024, 1).Add({.date = "2024-01-01", .triggerValue = 2});
  EventDatabase(2024, 12).Add({.date = "2023-12-31", .triggerValue = 0});

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1, 2));
}

TEST_F(AlarmReader, ReadsTheMonthBeforeUpToTheThird) {
  EventDatabase(2024, 2).Add({.date = "2024-03-01", .triggerValue = 1});
  EventDatabase(2024, 3).Add({.date = "2024-03-02", .triggerValue = 2});

  SetTime(LocalTimeOf(2024, 3, 4, 0, 0, 0));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(2));
  SetTime(LocalTimeOf(2024, 3, 3, 23, 59, 59));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

TEST_F(AlarmReader, MakesNoFile) {
  SetTime(LocalTimeOf(2024, 3, 2, 2));

  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(List("/media/mmcblk0p1"), IsEmpty());
}

TEST_F(AlarmReader, TakesNothingWhileTheTimeCannotBeConverted) {
  EventDatabase(2024, 3).Add();

  for (const int skipped : {0, 1}) {  // today, three days ago
    FailCalls(Call::kLocaltime, 1, skipped);
    EXPECT_THAT(Take(), IsEmpty()) << skipped;
  }
  EXPECT_THAT(Take(), SizeIs(1));
}

TEST_F(AlarmReader, FailsOnAFileThatCannotBeReadAndAppendsNothing) {
  EventDatabase database(2024, 3);
  database.AddAll({{.triggerValue = 1}, {.triggerValue = 2}});
  const std::vector<std::function<void()>> damages = {
      [] { FailCalls(Call::kSqliteOpen); },
      [] { FailCalls(Call::kSqliteStep, 1, 1); },  // between the two rows
      [] { FailCalls(Call::kSqliteStep, 1, 2); },  // after the last row
      [&] { database.Run("drop table event_tbl"); },
      [&] { WriteFile(database.Path(), std::string(4096, 'x')); },
  };

  for (const auto& damage : damages) {
    SCOPED_TRACE(&damage - damages.data());
    damage();
    Events events(1);
    EXPECT_EQ(Read(events), -1);
    EXPECT_THAT(ValuesOf(events), ElementsAre(0));
  }
}

TEST_F(AlarmReader, TakesTheMonthBeforeWhenThisMonthCannotBeReadYet) {
  SetTime(LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 2).Add({.date = "2024-02-29", .triggerValue = 1});
  EventDatabase(2024, 3).AddAll(
      {{.date = "2024-03-01", .triggerValue = 2}, {.date = "2024-03-01", .triggerValue = 3}});
  FailCalls(Call::kSqliteStep, 1, 3);  // between the rows of March

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(2, 3));
}

TEST_F(AlarmReader, TakesEventsAgainThatItCouldNotMark) {
  EventDatabase(2024, 3).Add({.triggerValue = 1});
  FailCalls(Call::kSqliteExec);
  Events first;

  EXPECT_EQ(Read(first), 0);
  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

TEST_F(AlarmReader, KeepsTheLower32BitsOfATimeAfterJanuary2038) {
  const std::time_t when = LocalTimeOf(2040, 3, 7, 11);
  SetTime(LocalTimeOf(2040, 3, 7, 12));
  EventDatabase(2040, 3).Add({.date = "2040-03-07", .clock = "11:00:00"});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].time), static_cast<std::uint32_t>(when));
  EXPECT_EQ(EventTime(events[0].time, when - 86400), when);
  EXPECT_EQ(EventTime(events[0].time, when + 86400), when);
}

// Deliberate: the mark goes by the dates, not by the rows that were read.
TEST_F(AlarmReader, MarksEventsThatCameAfterTheReading) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  AtNextCall(Call::kSqliteExec, [&] {
    database.Add({.triggerValue = 2});
    database.Add({.date = "2024-03-08", .triggerValue = 3});
  });

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1", "0"));
}

TEST_F(AlarmReader, WaitsTwentySecondsForALock) {
  const EventDatabase database(2024, 3);

  Take();

  EXPECT_EQ(LatestLockWait(), 20000);
}

TEST_F(AlarmReader, LosesNothingToALockAndTakesEventsOnceItIsGone) {
  for (const char* lock : {"begin; select * from event_tbl",
                           "begin immediate; update event_tbl set grade=9", "begin exclusive"}) {
    SCOPED_TRACE(lock);
    EventDatabase other(2024, 3);
    other.Add({.triggerValue = 1});
    other.Run(lock);
    {
      const NoLockWaits impatient;
      Take();
    }
    std::thread holder([&] {
      std::this_thread::sleep_for(kAMoment);
      other.Run("rollback");
    });

    const Events events = Take();
    holder.join();

    EXPECT_THAT(ValuesOf(events), ElementsAre(1));
    EXPECT_THAT(Take(), IsEmpty());
  }
}

TEST_F(AlarmReader, KeepsOtherReadingsOutUntilTheMark) {
  EventDatabase(2024, 3).Add();
  std::future<void> other;
  bool waited = false;
  AtNextCall(Call::kSqliteExec, [&] {
    other = std::async(std::launch::async, [] { Take(); });
    waited = other.wait_for(kAMoment) == std::future_status::timeout;
  });

  Take();

  EXPECT_TRUE(waited);
}

}  // namespace
