// The alarm events of the last three days, taken from the monthly databases on the card.
#include "datasource/alarmdata.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "alarmtest.h"
#include "support/clock.h"
#include "support/eventdatabase.h"
#include "support/faults.h"
#include "support/files.h"

using test::Call;
using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class AlarmReader : public test::AlarmTest {};

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
  EXPECT_EQ(events[0].time, test::LocalTimeOf(2024, 3, 6, 9, 8, 7));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].DataId), 0xC1031123U);
  EXPECT_EQ(events[0].threshold, -80.25);
  EXPECT_EQ(events[0].triggervalue, 81.0000001);
  EXPECT_EQ(events[0].eventtype, 7);
  EXPECT_EQ(events[0].grade, 3);
  EXPECT_EQ(events[0].upflag, -2);
}

TEST_F(AlarmReader, AppendsEventsInTheOrderOfTheirRecording) {
  EventDatabase(2024, 3).AddAll({{.clock = "11:00:00", .triggerValue = 2},
                                 {.date = "2024-03-05", .triggerValue = 3},
                                 {.clock = "10:00:00", .triggerValue = 4}});
  Events events(1);
  events[0].triggervalue = 1;

  GetCAlarmDataInstance().GetAlarmData(&events);

  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2, 3, 4));
}

TEST_F(AlarmReader, TakesAndMarksAnEventOnce) {
  EventDatabase database(2024, 3);
  database.AddAll({{.triggerValue = 1}, {.triggerValue = 2}});

  const Events first = Take();
  database.Add({.triggerValue = 3});
  const Events second = Take();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1, 2));
  EXPECT_THAT(ValuesOf(second), ElementsAre(3));
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1", "1"));
}

TEST_F(AlarmReader, LeavesEventsWithAnyOtherMarkThanZero) {
  EventDatabase database(2024, 3);
  database.AddAll({{.upload = 1}, {.upload = 2}, {.upload = -1}});

  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "2", "-1"));
}

struct Dated {
  const char* name;
  const char* date;
  const char* clock;
  bool taken;
};

class AlarmReaderDates : public AlarmReader, public ::testing::WithParamInterface<Dated> {};

TEST_P(AlarmReaderDates, ReachFromThreeDaysAgoToToday) {
  EventDatabase database(2024, 3);
  database.Add({.date = GetParam().date, .clock = GetParam().clock});

  EXPECT_THAT(Take(), SizeIs(GetParam().taken ? 1 : 0));
  EXPECT_THAT(database.Uploads(), ElementsAre(GetParam().taken ? "1" : "0"));
}

INSTANTIATE_TEST_SUITE_P(Dates, AlarmReaderDates,
                         ::testing::Values(Dated{"DayBefore", "2024-03-03", "23:59:59", false},
                                           Dated{"FirstSecond", "2024-03-04", "00:00:00", true},
                                           Dated{"LastSecondToCome", "2024-03-07", "23:59:59",
                                                 true},
                                           Dated{"DayAfter", "2024-03-08", "00:00:00", false},
                                           Dated{"YearBefore", "2023-03-05", "12:00:00", false},
                                           Dated{"WithoutZeros", "2024-3-5", "12:00:00", false}),
                         [](const auto& test) { return test.param.name; });

TEST_F(AlarmReader, ReadsTheMonthBeforeFirst) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
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
  test::SetTime(test::LocalTimeOf(2024, 1, 1));
  EventDatabase(2023, 12).AddAll(
      {{.date = "2023-12-28", .triggerValue = 0}, {.date = "2023-12-29", .triggerValue = 1}});
  EventDatabase(2024, 1).Add({.date = "2024-01-01", .triggerValue = 2});
  EventDatabase(2024, 12).Add({.date = "2023-12-31", .triggerValue = 0});

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1, 2));
}

TEST_F(AlarmReader, ReadsTheMonthBeforeUpToTheThird) {
  EventDatabase(2024, 2).Add({.date = "2024-03-01", .triggerValue = 1});
  EventDatabase(2024, 3).Add({.date = "2024-03-02", .triggerValue = 2});

  test::SetTime(test::LocalTimeOf(2024, 3, 4, 0, 0, 0));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(2));
  test::SetTime(test::LocalTimeOf(2024, 3, 3, 23, 59, 59));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

TEST_F(AlarmReader, MakesNoFile) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));

  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(test::List("/media/mmcblk0p1"), IsEmpty());
}

TEST_F(AlarmReader, TakesTheMonthBeforeWhenThisMonthCannotBeRead) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 2).Add({.date = "2024-02-29", .triggerValue = 1});
  test::WriteFile(test::EventDatabasePathOf(2024, 3), std::string(4096, 'x'));

  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

TEST_F(AlarmReader, TakesNothingWhileTheTimeCannotBeConverted) {
  EventDatabase(2024, 3).Add();

  for (const int skipped : {0, 1}) {  // today, three days ago
    test::FailCalls(Call::kLocaltime, 1, skipped);
    EXPECT_THAT(Take(), IsEmpty()) << skipped;
  }
  EXPECT_THAT(Take(), SizeIs(1));
}

// What happens to the file of March, which holds two events.
struct Damage {
  const char* name;
  std::function<void(test::DatabaseFile&)> inflict;
};

class AlarmReaderDamage : public AlarmReader, public ::testing::WithParamInterface<Damage> {};

TEST_P(AlarmReaderDamage, FailsTheReadingAndAppendsNothing) {
  EventDatabase database(2024, 3);
  database.AddAll({{.triggerValue = 1}, {.triggerValue = 2}});
  GetParam().inflict(database);
  Events events(1);
  events[0].triggervalue = 7;

  EXPECT_EQ(Read(events), -1);
  EXPECT_THAT(ValuesOf(events), ElementsAre(7));
}

INSTANTIATE_TEST_SUITE_P(
    Damages, AlarmReaderDamage,
    ::testing::Values(
        Damage{"Nonsense",
               [](auto& file) { test::WriteFile(file.Path(), std::string(4096, 'x')); }},
        Damage{"NoTable", [](auto& file) { file.Run("drop table event_tbl"); }},
        Damage{"NotOpened", [](auto&) { test::FailCalls(Call::kSqliteOpen); }},
        Damage{"NotPrepared", [](auto&) { test::FailCalls(Call::kSqlitePrepare); }},
        Damage{"BeforeTheFirstRow", [](auto&) { test::FailCalls(Call::kSqliteStep); }},
        Damage{"BetweenTwoRows", [](auto&) { test::FailCalls(Call::kSqliteStep, 1, 1); }},
        Damage{"AfterTheLastRow", [](auto&) { test::FailCalls(Call::kSqliteStep, 1, 2); }}),
    [](const auto& test) { return test.param.name; });

TEST_F(AlarmReader, TakesEverythingAgainAfterAReadingThatFailed) {
  EventDatabase(2024, 3).AddAll({{.triggerValue = 1}, {.triggerValue = 2}});
  test::FailCalls(Call::kSqliteStep, 1, 1);

  EXPECT_THAT(Take(), IsEmpty());
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1, 2));
}

TEST_F(AlarmReader, TakesEventsAgainThatItCouldNotMark) {
  EventDatabase(2024, 3).Add({.triggerValue = 1});
  test::FailCalls(Call::kSqliteExec);
  Events first;

  EXPECT_EQ(Read(first), 0);
  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(ValuesOf(Take()), ElementsAre(1));
}

TEST_F(AlarmReader, KeepsTheLower32BitsOfATimeAfterJanuary2038) {
  const std::time_t when = test::LocalTimeOf(2040, 3, 7, 11);
  test::SetTime(test::LocalTimeOf(2040, 3, 7, 12));
  EventDatabase(2040, 3).Add({.date = "2040-03-07", .clock = "11:00:00"});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].time), static_cast<std::uint32_t>(when));
  EXPECT_EQ(EventTime(events[0].time, when - 86400), when);
  EXPECT_EQ(EventTime(events[0].time, when + 86400), when);
}

}  // namespace
