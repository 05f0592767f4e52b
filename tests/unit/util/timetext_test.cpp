// Time as text.
#include "util/timetext.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <ostream>
#include <string>

#include "support/faults.h"

namespace {

std::tm Morning() {
  std::tm time{};
  time.tm_year = 124;
  time.tm_mon = 2;
  time.tm_mday = 7;
  time.tm_hour = 4;
  time.tm_min = 5;
  time.tm_sec = 6;
  return time;
}

std::tm LastSecondOf2038() {
  std::tm time{};
  time.tm_year = 138;
  time.tm_mon = 11;
  time.tm_mday = 31;
  time.tm_hour = 23;
  time.tm_min = 59;
  time.tm_sec = 59;
  return time;
}

TEST(TimeText, StampsWithFourteenDigits) {
  EXPECT_EQ(util::Stamp(Morning()), "20240307040506");
  EXPECT_EQ(util::Stamp(LastSecondOf2038()), "20381231235959");
}

TEST(TimeText, MarksReadably) {
  EXPECT_EQ(util::TimeMark(Morning()), "2024-03-07 04:05:06");
  EXPECT_EQ(util::TimeMark(LastSecondOf2038()), "2038-12-31 23:59:59");
}

TEST(TimeText, GivesTheDateOfALogRecord) {
  EXPECT_EQ(util::DateText(Morning()), "2024-03-07");
  EXPECT_EQ(util::DateText(LastSecondOf2038()), "2038-12-31");
}

TEST(TimeText, GivesTheClockOfALogRecord) {
  EXPECT_EQ(util::ClockText(Morning()), "04:05:06");
  EXPECT_EQ(util::ClockText(LastSecondOf2038()), "23:59:59");
}

class LocalTime : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "CST-8", 1);
    tzset();
  }
};

TEST_F(LocalTime, BreaksATimeDownInTheGatewaysZone) {
  const auto time = util::LocalTime(0);

  ASSERT_TRUE(time);
  EXPECT_EQ(util::TimeMark(*time), "1970-01-01 08:00:00");
}

TEST_F(LocalTime, FollowsAChangedZoneAtOnce) {
  util::LocalTime(0);
  setenv("TZ", "CET-1", 1);

  const auto time = util::LocalTime(0);

  ASSERT_TRUE(time);
  EXPECT_EQ(util::TimeMark(*time), "1970-01-01 01:00:00");
}

TEST_F(LocalTime, KnowsTimesBehindJanuary2038) {
  const auto time = util::LocalTime(2'208'988'800);

  ASSERT_TRUE(time);
  EXPECT_EQ(util::TimeMark(*time), "2040-01-01 08:00:00");
}

TEST_F(LocalTime, IsNothingForATimeWithoutAYear) {
  EXPECT_FALSE(util::LocalTime(std::numeric_limits<std::time_t>::max()));
}

TEST_F(LocalTime, IsNothingWhereItCannotBeConverted) {
  test::FailCalls(test::Call::kLocaltime);

  EXPECT_FALSE(util::LocalTime(0));
}

// A text, and the three numbers read from it.
struct Fields {
  const char* name;
  const char* text;
  int first, second, third;
};

void PrintTo(const Fields& fields, std::ostream* out) {
  *out << '"' << fields.text << '"';
}

std::string NameOf(const ::testing::TestParamInfo<Fields>& test) {
  return test.param.name;
}

class ReadDate : public ::testing::TestWithParam<Fields> {};

TEST_P(ReadDate, TakesYearMonthAndDayAsFarAsTheyGo) {
  std::tm time = Morning();

  util::ReadDate(GetParam().text, &time);

  EXPECT_EQ(time.tm_year, GetParam().first - 1900);
  EXPECT_EQ(time.tm_mon, GetParam().second - 1);
  EXPECT_EQ(time.tm_mday, GetParam().third);
  EXPECT_EQ(util::ClockText(time), "04:05:06");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadDate,
    ::testing::Values(Fields{"Plain", "2024-12-31", 2024, 12, 31},
                      Fields{"WithoutZeros", "2024-3-7", 2024, 3, 7},
                      Fields{"Blanks", " 2024- 3- 7", 2024, 3, 7},
                      Fields{"FurtherText", "2024-03-07T10:00", 2024, 3, 7},
                      Fields{"FiveDigitsOfAYear", "20240-03-07", 2024, 0, 0},
                      Fields{"ThreeDigitsOfADay", "2024-03-123", 2024, 3, 12},
                      Fields{"ThreeDigitsOfAMonth", "2024-123-07", 2024, 12, 0},
                      Fields{"WithoutDay", "2024-03", 2024, 3, 0},
                      Fields{"OtherSigns", "2024/03/07", 2024, 0, 0},
                      Fields{"BeyondTheCalendar", "2024-99-99", 2024, 99, 99},
                      Fields{"Negative", "-123-03-07", -123, 3, 7},
                      Fields{"Words", "today", 0, 0, 0}, Fields{"Empty", "", 0, 0, 0}),
    NameOf);

class ReadClock : public ::testing::TestWithParam<Fields> {};

TEST_P(ReadClock, TakesHourMinuteAndSecondAsFarAsTheyGo) {
  std::tm time = Morning();

  util::ReadClock(GetParam().text, &time);

  EXPECT_EQ(time.tm_hour, GetParam().first);
  EXPECT_EQ(time.tm_min, GetParam().second);
  EXPECT_EQ(time.tm_sec, GetParam().third);
  EXPECT_EQ(util::DateText(time), "2024-03-07");
}

INSTANTIATE_TEST_SUITE_P(Texts, ReadClock,
                         ::testing::Values(Fields{"Plain", "23:59:58", 23, 59, 58},
                                           Fields{"WithoutZeros", "9:8:7", 9, 8, 7},
                                           Fields{"FurtherText", "10:11:12.5", 10, 11, 12},
                                           Fields{"ThreeDigits", "10:11:123", 10, 11, 12},
                                           Fields{"ThreeDigitsOfAnHour", "100:11:12", 10, 0, 0},
                                           Fields{"WithoutSeconds", "10:11", 10, 11, 0},
                                           Fields{"OtherSigns", "10.11.12", 10, 0, 0},
                                           Fields{"BeyondTheDay", "99:99:99", 99, 99, 99},
                                           Fields{"Negative", "-1:-2:-3", -1, -2, -3},
                                           Fields{"Words", "noon", 0, 0, 0},
                                           Fields{"Empty", "", 0, 0, 0}),
                         NameOf);

struct Mark {
  const char* name;
  const char* text;
  const char* mark;  // as TimeMark writes what was read
};

void PrintTo(const Mark& mark, std::ostream* out) {
  *out << '"' << mark.text << '"';
}

class ReadTimeMark : public ::testing::TestWithParam<Mark> {};

TEST_P(ReadTimeMark, TakesDateAndClockAsFarAsTheyGo) {
  EXPECT_EQ(util::TimeMark(util::ReadTimeMark(GetParam().text)), GetParam().mark);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadTimeMark,
    ::testing::Values(Mark{"Plain", "2024-12-31 23:59:58", "2024-12-31 23:59:58"},
                      Mark{"WithoutZeros", "2024-3-7 4:5:6", "2024-03-07 04:05:06"},
                      Mark{"WithoutABlank", "2024-03-0704:05:06", "2024-03-07 04:05:06"},
                      Mark{"FurtherText", "2024-03-07 04:05:06Z", "2024-03-07 04:05:06"},
                      Mark{"LetterBetween", "2024-03-07T04:05:06", "2024-03-07 00:00:00"},
                      Mark{"WithoutClock", "2024-03-07", "2024-03-07 00:00:00"},
                      Mark{"WithoutSeconds", "2024-03-07 04:05", "2024-03-07 04:05:00"},
                      Mark{"FiveDigitsOfAYear", "20240-03-07 04:05:06", "2024-00-00 00:00:00"},
                      Mark{"Words", "tomorrow", "0000-00-00 00:00:00"},
                      Mark{"Empty", "", "0000-00-00 00:00:00"}),
    [](const auto& test) { return test.param.name; });

TEST_F(LocalTime, BecomesUnixTimeAgain) {
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("1970-01-01 08:00:00")), 0);
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2024-03-07 12:00:00")), 1'709'784'000);
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2040-01-01 08:00:00")), 2'208'988'800);
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("1969-12-31 23:59:59")), -28'801);
}

TEST_F(LocalTime, BeyondTheCalendarIsCarriedOver) {
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2024-02-30 24:60:60")),
            util::UnixTime(util::ReadTimeMark("2024-03-02 01:01:00")));
}

TEST_F(LocalTime, IsInDaylightSavingWhereItsDateIs) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  std::tm marked = util::ReadTimeMark("2024-07-01 12:00:00");
  marked.tm_isdst = 0;  // what the field held before does not count

  EXPECT_EQ(util::UnixTime(marked), 1'719'828'000);
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2024-01-01 12:00:00")), 1'704'106'800);
}

}  // namespace
