// The alarm events where their databases are damaged, or not as the service knows them.
#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>

#include "alarmtest.h"
#include "datasource/alarmdata.h"
#include "support/clock.h"
#include "support/eventdatabase.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using test::Call;
using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

std::string March() {
  return test::EventDatabasePathOf(2024, 3);
}

class AlarmDatabase : public test::AlarmTest {};

// What stands where March's database should, or happens to it.
struct Damage {
  const char* name;
  std::function<void()> inflict;
};

class UnreadableAlarms : public AlarmDatabase, public ::testing::WithParamInterface<Damage> {};

TEST_P(UnreadableAlarms, FailTheVisitSilently) {
  GetParam().inflict();
  Events events(1);

  const std::uint32_t result = Visit(&events);

  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(events, SizeIs(1));
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_P(UnreadableAlarms, LetTheNextVisitIn) {
  GetParam().inflict();
  Events events;
  Visit(&events);
  std::filesystem::remove_all(March());
  EventDatabase(2024, 3).Add();

  const std::uint32_t result = Visit(&events);

  EXPECT_EQ(result, 0U);
  EXPECT_THAT(events, SizeIs(1));
}

TEST_P(UnreadableAlarms, KeepNothingOfTheOtherMonthBack) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  GetParam().inflict();
  EventDatabase(2024, 2).Add({.date = "2024-02-29", .triggerValue = 1});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(
    Damages, UnreadableAlarms,
    ::testing::Values(
        Damage{"Nonsense", [] { test::WriteFile(March(), std::string(4096, 'x')); }},
        Damage{"EmptyFile", [] { test::WriteFile(March(), ""); }},
        Damage{"OnlyAHead", [] { test::WriteFile(March(), std::string("SQLite format 3\0", 16)); }},
        Damage{"Directory", [] { std::filesystem::create_directory(March()); }},
        Damage{"NoTable", [] { test::DatabaseFile(March()).Run("create table other(a)"); }},
        Damage{"NoMark",
               [] {
                 test::DatabaseFile(March()).Run(
                     "create table event_tbl(RecordDate, RecordTime, DataId, threshold, "
                     "triggervalue, eventtype, grade, upflag)");
               }},
        Damage{"NoValue",
               [] {
                 test::DatabaseFile(March()).Run(
                     "create table event_tbl(RecordDate, RecordTime, DataId, threshold, eventtype, "
                     "grade, upflag, upload)");
               }}),
    [](const auto& test) { return test.param.name; });

TEST_F(AlarmDatabase, ThatCannotBeOpenedFailsTheVisit) {
  EventDatabase database(2024, 3);
  database.Add();
  test::FailCalls(Call::kSqliteOpen);
  Events events;

  const std::uint32_t result = Visit(&events);

  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("0"));
}

TEST_F(AlarmDatabase, WhoseQueryCannotBePreparedFailsTheVisitAndKeepsItsMarks) {
  EventDatabase database(2024, 3);
  database.Add();
  test::FailCalls(Call::kSqlitePrepare);
  Events events;

  const std::uint32_t result = Visit(&events);

  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("0"));
}

TEST_F(AlarmDatabase, OfThisMonthThatCannotBeReadKeepsWhatTheMonthBeforeGave) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 2).Add({.date = "2024-02-29", .triggerValue = 1});
  EventDatabase(2024, 3).Add({.date = "2024-03-01", .triggerValue = 2});
  test::FailCalls(Call::kSqlitePrepare, 1, 1);

  const Events first = Take();
  const Events second = Take();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(ValuesOf(second), ElementsAre(2));
}

TEST_F(AlarmDatabase, GivesItsRowsAgainWhereTheMarkFailed) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  test::FailCalls(Call::kSqliteExec);
  Events first;

  const std::uint32_t result = Visit(&first);
  const Events second = Take();

  EXPECT_EQ(result, 0U);
  EXPECT_THAT(ValuesOf(first), ElementsAre(1));
  EXPECT_THAT(ValuesOf(second), ElementsAre(1));
}

TEST_F(AlarmDatabase, IsVisitedOnceATurnWhereTheMarkFailed) {
  EventDatabase(2024, 3).Add({.triggerValue = 1});
  test::FailCalls(Call::kSqliteExec);

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1));
}

TEST_F(AlarmDatabase, ThatFailsBetweenTwoRowsGivesNoneAndMarksNone) {
  EventDatabase database(2024, 3);
  database.AddAll({{.triggerValue = 1}, {.triggerValue = 2}});
  test::FailCalls(Call::kSqliteStep, 1, 1);
  Events events(1);
  events[0].triggervalue = 7;

  const std::uint32_t result = Visit(&events);

  EXPECT_EQ(result, test::kFailure);
  EXPECT_THAT(ValuesOf(events), ElementsAre(7));
  EXPECT_THAT(database.Uploads(), ElementsAre("0", "0"));
}

// The rows of a column go by the number that SQLite makes of them.
TEST_F(AlarmDatabase, MayHoldOtherTypesThanItsColumns) {
  EventDatabase(2024, 3).AddValues(
      "'2024-03-07','11:00:00','pump','80.5',NULL,'7',x'00ff',2.9,'0'");

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].DataId, 0);
  EXPECT_EQ(events[0].threshold, 80.5);
  EXPECT_EQ(events[0].triggervalue, 0);
  EXPECT_EQ(events[0].eventtype, 7);
  EXPECT_EQ(events[0].grade, 0);
  EXPECT_EQ(events[0].upflag, 2);
}

TEST_F(AlarmDatabase, MayHoldNumbersBeyondEveryRange) {
  EventDatabase(2024, 3).AddValues(
      "'2024-03-07','11:00:00',4311941121,9e999,-9e999,9223372036854775807,-2147483649,1e30,0");

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].DataId, 16973825);  // the lower 32 bits
  EXPECT_EQ(events[0].threshold, std::numeric_limits<double>::infinity());
  EXPECT_EQ(events[0].triggervalue, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(events[0].eventtype, -1);
  EXPECT_EQ(events[0].grade, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(events[0].upflag, -1);
}

TEST_F(AlarmDatabase, MayHoldTimesThatAreNoTexts) {
  EventDatabase(2024, 3)
      .AddValues("'2024-03-07',123456,1,80,81,0,1,1,0")
      .AddValues("'2024-03-07',x'31303a3131',1,80,81,0,1,1,0")
      .AddValues("'2024-03-07','\xff\xfe',1,80,81,0,1,1,0")
      .AddValues("20240307,'11:00:00',1,80,81,0,1,1,0")
      .AddValues("x'323032342d30332d3037','11:00:00',1,80,81,0,1,1,0");

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(3));  // a date that is no text is out of reach
  EXPECT_EQ(events[0].time, test::LocalTimeOf(2024, 3, 7, 12));
  EXPECT_EQ(events[1].time, test::LocalTimeOf(2024, 3, 7, 10, 11));
  EXPECT_EQ(events[2].time, test::LocalTimeOf(2024, 3, 7));
}

TEST_F(AlarmDatabase, MayHaveColumnsOfNoTypeInAnyOrderAndCase) {
  test::DatabaseFile file(March());
  file.Run(
      "create table EVENT_TBL(UPLOAD, UPFLAG, GRADE, EVENTTYPE, TRIGGERVALUE, THRESHOLD, "
      "DATAID, RECORDTIME, RECORDDATE, comment)");
  file.Run("insert into event_tbl values(0, 6, 5, 4, 3.5, 2.5, 1, '11:00:00', '2024-03-07', 'x')");

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].time, test::LocalTimeOf(2024, 3, 7, 11));
  EXPECT_EQ(events[0].DataId, 1);
  EXPECT_EQ(events[0].threshold, 2.5);
  EXPECT_EQ(events[0].triggervalue, 3.5);
  EXPECT_EQ(events[0].eventtype, 4);
  EXPECT_EQ(events[0].grade, 5);
  EXPECT_EQ(events[0].upflag, 6);
  EXPECT_THAT(file.Lines("select upload from event_tbl"), ElementsAre("1"));
}

}  // namespace
