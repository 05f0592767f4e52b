// The alarm events of the last three days, taken from the monthly databases of the card.
#include "datasource/alarmdata.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "alarmtest.h"
#include "support/clock.h"
#include "support/eventdatabase.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using test::Event;
using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

static_assert(!std::is_copy_constructible_v<CAlarmData>);

class AlarmEvents : public test::AlarmTest {};

TEST_F(AlarmEvents, CarryEveryFieldOfTheirRow) {
  EventDatabase(2024, 3).Add({.date = "2024-03-06",
                              .clock = "09:08:07",
                              .dataId = 0x01031123,
                              .threshold = 80.25,
                              .triggerValue = 81.0000001,
                              .type = 7,
                              .grade = 3,
                              .upFlag = 2});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].time, test::LocalTimeOf(2024, 3, 6, 9, 8, 7));
  EXPECT_EQ(events[0].DataId, 0x01031123);
  EXPECT_EQ(events[0].threshold, 80.25);
  EXPECT_EQ(events[0].triggervalue, 81.0000001);
  EXPECT_EQ(events[0].eventtype, 7);
  EXPECT_EQ(events[0].grade, 3);
  EXPECT_EQ(events[0].upflag, 2);
}

TEST_F(AlarmEvents, KeepEveryBitOfAnIdentifier) {
  EventDatabase(2024, 3)
      .Add({.dataId = 0xC1010001})
      .AddValues("'2024-03-07','11:00:00',3238068225,80,81,0,1,1,0");  // the same, unsigned

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].DataId), 0xC1010001U);
  EXPECT_EQ(static_cast<std::uint32_t>(events[1].DataId), 0xC1010001U);
}

TEST_F(AlarmEvents, KeepNegativeNumbers) {
  EventDatabase(2024, 3).Add({.threshold = -1e22, .type = -1, .grade = -2, .upFlag = -3});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].threshold, -1e22);
  EXPECT_EQ(events[0].eventtype, -1);
  EXPECT_EQ(events[0].grade, -2);
  EXPECT_EQ(events[0].upflag, -3);
}

TEST_F(AlarmEvents, ComeInTheOrderOfTheirRecording) {
  EventDatabase(2024, 3).AddAll({{.clock = "11:00:00", .triggerValue = 1},
                                 {.date = "2024-03-05", .triggerValue = 2},
                                 {.clock = "10:00:00", .triggerValue = 3}});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2, 3));
}

TEST_F(AlarmEvents, AreAppendedToThoseThatAreThere) {
  EventDatabase(2024, 3).Add({.triggerValue = 2});
  Events events(1);
  events[0].triggervalue = 1;

  const std::uint32_t result = Alarms().GetAlarmData(&events);

  EXPECT_EQ(result, 0U);
  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2));
}

TEST_F(AlarmEvents, AreMarkedAndComeOnce) {
  EventDatabase database(2024, 3);
  database.AddAll({{.triggerValue = 1}, {.triggerValue = 2}});

  const Events first = Take();
  const Events second = Take();

  EXPECT_THAT(ValuesOf(first), ElementsAre(1, 2));
  EXPECT_THAT(second, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "1"));
}

TEST_F(AlarmEvents, ThatCameLaterAreTakenNextTime) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});
  Take();
  database.Add({.triggerValue = 2});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(2));
}

TEST_F(AlarmEvents, WithAnyOtherMarkThanZeroAreLeftAlone) {
  EventDatabase database(2024, 3);
  database.AddAll({{.upload = 1}, {.upload = 2}, {.upload = -1}});
  database.AddValues("'2024-03-07','11:00:00',1,80,81,0,1,1,NULL");

  const Events events = Take();

  EXPECT_THAT(events, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("1", "2", "-1", ""));
}

TEST_F(AlarmEvents, ChangeNothingInTheirRowsButTheMark) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1.25});
  const std::string fields =
      "select RecordDate||RecordTime||DataId||threshold||triggervalue||eventtype||grade||upflag "
      "from event_tbl";
  const auto before = database.Lines(fields);

  Take();

  EXPECT_THAT(before, SizeIs(1));
  EXPECT_EQ(database.Lines(fields), before);
}

class NumberOfEvents : public AlarmEvents, public ::testing::WithParamInterface<int> {};

TEST_P(NumberOfEvents, IsNotLimited) {
  std::vector<double> expected;
  std::vector<Event> rows;
  for (int i = 0; i < GetParam(); ++i) {
    expected.push_back(i);
    rows.push_back({.triggerValue = static_cast<double>(i)});
  }
  EventDatabase database(2024, 3);
  database.AddAll(rows);

  const Events events = Take();

  EXPECT_EQ(ValuesOf(events), expected);
  EXPECT_THAT(database.Uploads(), SizeIs(rows.size()));
  EXPECT_THAT(database.Uploads(), Each("1"));
}

INSTANTIATE_TEST_SUITE_P(Counts, NumberOfEvents, ::testing::Values(0, 1, 20, 21, 41, 5000),
                         [](const auto& test) { return std::to_string(test.param); });

struct Dated {
  const char* name;
  const char* date;
  const char* clock;
  bool taken;
};

void PrintTo(const Dated& row, std::ostream* out) {
  *out << row.date << ' ' << row.clock << (row.taken ? " is taken" : " is left");
}

class DatesReached : public AlarmEvents, public ::testing::WithParamInterface<Dated> {};

TEST_P(DatesReached, AreWholeDaysFromThreeDaysAgoToToday) {
  EventDatabase database(2024, 3);
  database.Add({.date = GetParam().date, .clock = GetParam().clock});

  const Events events = Take();

  EXPECT_THAT(events, SizeIs(GetParam().taken ? 1 : 0));
  EXPECT_THAT(database.Uploads(), ElementsAre(GetParam().taken ? "1" : "0"));
}

INSTANTIATE_TEST_SUITE_P(
    Dates, DatesReached,
    ::testing::Values(Dated{"DayBefore", "2024-03-03", "23:59:59", false},
                      Dated{"FirstSecond", "2024-03-04", "00:00:00", true},
                      Dated{"SecondDay", "2024-03-05", "12:00:00", true},
                      Dated{"ThirdDay", "2024-03-06", "12:00:00", true},
                      Dated{"Now", "2024-03-07", "12:00:00", true},
                      Dated{"LastSecondToCome", "2024-03-07", "23:59:59", true},
                      Dated{"DayAfter", "2024-03-08", "00:00:00", false},
                      Dated{"YearBefore", "2023-03-05", "12:00:00", false},
                      Dated{"WithoutZeros", "2024-3-5", "12:00:00", false},
                      Dated{"WithFurtherText", "2024-03-05T", "12:00:00", true},
                      Dated{"Empty", "", "12:00:00", false},
                      Dated{"Words", "today", "12:00:00", false}),
    [](const auto& test) { return test.param.name; });

// The clock's texts as the time of the day.
struct Clocked {
  const char* name;
  const char* clock;
  int hour, minute, second;
};

void PrintTo(const Clocked& row, std::ostream* out) {
  *out << '"' << row.clock << '"';
}

class ClockText : public AlarmEvents, public ::testing::WithParamInterface<Clocked> {};

TEST_P(ClockText, IsReadAsFarAsItGoes) {
  EventDatabase(2024, 3).Add({.clock = GetParam().clock});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].time,
            test::LocalTimeOf(2024, 3, 7, GetParam().hour, GetParam().minute, GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(Texts, ClockText,
                         ::testing::Values(Clocked{"Plain", "23:59:58", 23, 59, 58},
                                           Clocked{"WithoutZeros", "9:8:7", 9, 8, 7},
                                           Clocked{"WithoutSeconds", "10:15", 10, 15, 0},
                                           Clocked{"Fractions", "10:15:16.75", 10, 15, 16},
                                           Clocked{"Empty", "", 0, 0, 0},
                                           Clocked{"Words", "noon", 0, 0, 0},
                                           Clocked{"OtherSigns", "10-15-16", 10, 0, 0},
                                           Clocked{"BeyondTheDay", "24:60:61", 24, 60, 61}),
                         [](const auto& test) { return test.param.name; });

TEST_F(AlarmEvents, OfAZoneWithDaylightSavingAreTimedByTheirOwnDate) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  test::SetTime(1711922400);  // 2024-04-01 00:00:00, summer since the day before
  EventDatabase(2024, 3)
      .Add({.date = "2024-03-30", .clock = "12:00:00"})
      .Add({.date = "2024-03-31", .clock = "12:00:00"});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].time, 1711796400);  // 11:00 in Greenwich
  EXPECT_EQ(events[1].time, 1711879200);  // 10:00 in Greenwich
}

TEST_F(AlarmEvents, BehindJanuary2038KeepTheLower32BitsOfTheirTime) {
  test::SetTime(test::LocalTimeOf(2040, 3, 7, 12));
  EventDatabase(2040, 3).Add({.date = "2040-03-07", .clock = "11:00:00"});

  const Events events = Take();

  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(static_cast<std::uint32_t>(events[0].time),
            static_cast<std::uint32_t>(test::LocalTimeOf(2040, 3, 7, 11)));
}

TEST_F(AlarmEvents, WaitWhereTheTimeCannotBeBrokenDown) {
  EventDatabase database(2024, 3);
  database.Add({.triggerValue = 1});

  test::FailCalls(test::Call::kLocaltime);
  const Events today = Take();
  test::FailCalls(test::Call::kLocaltime, 1, 1);
  const Events threeDaysAgo = Take();

  EXPECT_THAT(today, IsEmpty());
  EXPECT_THAT(threeDaysAgo, IsEmpty());
  EXPECT_THAT(database.Uploads(), ElementsAre("0"));
}

TEST_F(AlarmEvents, AreNotReported) {
  EventDatabase(2024, 3).Add();
  testing::internal::CaptureStdout();

  Take();

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmEvents, LeaveNoHandleOpen) {
  EventDatabase(2024, 3).Add();
  const std::size_t before = test::List("/proc/self/fd").size();

  Take();

  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

}  // namespace
