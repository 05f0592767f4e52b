#include "util/timetext.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "support/faults.h"

namespace {

std::tm Morning() {
  return util::ReadTimeMark("2024-03-07 04:05:06");
}

TEST(TimeText, HasAFormForEachUse) {
  EXPECT_EQ(util::Stamp(Morning()), "20240307040506");
  EXPECT_EQ(util::TimeMark(Morning()), "2024-03-07 04:05:06");
  EXPECT_EQ(util::DateText(Morning()), "2024-03-07");
  EXPECT_EQ(util::ClockText(Morning()), "04:05:06");
}

// Any second that a data file can name, and a year of five digits.
TEST(TimeMark, IsThePrintedText) {
  std::mt19937 random(7);
  std::vector<std::time_t> times{0, std::numeric_limits<std::int32_t>::max()};
  while (times.size() < 20000) times.push_back(static_cast<std::time_t>(random() & 0x7FFFFFFFU));
  for (const std::time_t when : times) {
    auto time = util::LocalTime(when).value_or(std::tm{});
    if (when % 100 == 0) time.tm_year += 8000;
    char printed[32];
    std::strftime(printed, sizeof(printed), "%Y-%m-%d %H:%M:%S", &time);

    ASSERT_EQ(util::TimeMark(time), printed);
  }
}

// Each reads its fields until one is no number, and leaves the other members as they are.
TEST(ReadDate, ReadsFieldsUntilOneIsNoNumber) {
  for (const auto& [text, date] : {std::pair{"2024-12-31", "2024-12-31"},
                                   {" 2024- 3- 7", "2024-03-07"},
                                   {"2024-03-07T10:00", "2024-03-07"},
                                   {"20240-03-07", "2024-00-00"},
                                   {"2024-123-07", "2024-12-00"},
                                   {"2024-03-123", "2024-03-12"},
                                   {"2024-03", "2024-03-00"},
                                   {"2024-99-99", "2024-99-99"},
                                   {"-123-03-07", "-123-03-07"},
                                   {"", "0-00-00"}}) {
    std::tm time = Morning();
    util::ReadDate(text, &time);
    EXPECT_EQ(util::DateText(time), date) << text;
    EXPECT_EQ(util::ClockText(time), "04:05:06") << text;
  }
}

TEST(ReadClock, ReadsFieldsUntilOneIsNoNumber) {
  for (const auto& [text, clock] : {std::pair{"23:59:58", "23:59:58"},
                                    {"9:8:7", "09:08:07"},
                                    {"100:11:12", "10:00:00"},
                                    {"10:111:12", "10:11:00"},
                                    {"10:11:123", "10:11:12"},
                                    {"10.11.12", "10:00:00"},
                                    {"99:99:99", "99:99:99"},
                                    {"-1:-2:-3", "-1:-2:-3"},
                                    {"", "00:00:00"}}) {
    std::tm time = Morning();
    util::ReadClock(text, &time);
    EXPECT_EQ(util::ClockText(time), clock) << text;
    EXPECT_EQ(util::DateText(time), "2024-03-07") << text;
  }
}

TEST(ReadTimeMark, ReadsFieldsUntilOneIsNoNumber) {
  for (const auto& [text, mark] : {std::pair{"2038-12-31 23:59:58", "2038-12-31 23:59:58"},
                                   {"2024-3-7 4:5:6", "2024-03-07 04:05:06"},
                                   {"2024-03-0704:05:06Z", "2024-03-07 04:05:06"},
                                   {"2024-03-07T04:05:06", "2024-03-07 00:00:00"},
                                   {"2024-03-07 04:05", "2024-03-07 04:05:00"},
                                   {"20240-03-07 04:05:06", "2024-00-00 00:00:00"},
                                   {"2024-123-07", "2024-12-00 00:00:00"},
                                   {"2024-03-07 123:05", "2024-03-07 12:00:00"},
                                   {"2024-03-07 04:123:06", "2024-03-07 04:12:00"},
                                   {"2024-03-07 04:05:123", "2024-03-07 04:05:12"},
                                   {"", "0000-00-00 00:00:00"}}) {
    EXPECT_EQ(util::TimeMark(util::ReadTimeMark(text)), mark) << text;
  }
}

struct ZoneRow {
  const char* zone;
  std::time_t when;
  const char* local;
};

// The zone changes between the rows.
TEST(LocalTime, FollowsTheGatewaysZoneThereAndBack) {
  for (const auto& [zone, when, local] : {ZoneRow{"CST-8", 0, "1970-01-01 08:00:00"},
                                          {"CET-1", 0, "1970-01-01 01:00:00"},
                                          {"CST-8", 2'208'988'800, "2040-01-01 08:00:00"},
                                          {"CST-8", -28'801, "1969-12-31 23:59:59"}}) {
    SCOPED_TRACE(local);
    setenv("TZ", zone, 1);

    const auto time = util::LocalTime(when);

    ASSERT_TRUE(time);
    EXPECT_EQ(util::TimeMark(*time), local);
    EXPECT_EQ(util::UnixTime(util::ReadTimeMark(local)), when);
  }
}

TEST(LocalTime, GivesNothingWhenItCannotBeConverted) {
  EXPECT_FALSE(util::LocalTime(std::numeric_limits<std::time_t>::max()));

  test::FailCalls(test::Call::kLocaltime);
  EXPECT_FALSE(util::LocalTime(0));
}

TEST(UnixTime, CarriesOverWhatIsBeyondTheCalendar) {
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2024-02-30 24:60:60")),
            util::UnixTime(util::ReadTimeMark("2024-03-02 01:01:00")));
}

TEST(UnixTime, KnowsDaylightSavingByItsDate) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  std::tm summer = util::ReadTimeMark("2024-07-01 12:00:00");
  summer.tm_isdst = 0;  // is ignored

  EXPECT_EQ(util::UnixTime(summer), 1'719'828'000);
  EXPECT_EQ(util::UnixTime(util::ReadTimeMark("2024-01-01 12:00:00")), 1'704'106'800);
}

}  // namespace
