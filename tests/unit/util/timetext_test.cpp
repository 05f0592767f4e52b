// Time as text.
#include "util/timetext.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>

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

}  // namespace
