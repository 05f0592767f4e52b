// The texts of a recall order as numbers and times; and a time mark as Unix time.
#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "recalltest.h"
#include "support/clock.h"

using test::ParsedRecall;
using test::ParseRecall;
using test::RecallDevice;
using test::RecallOrder;
using test::RecallPoint;
using ::testing::SizeIs;

namespace {

constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();

class RecallValues : public test::RecallAnswerTest {
 protected:
  // The one point of an order with one device.
  static ST_SINGLE_CALL_POINT PointOf(const std::string& point) {
    const ParsedRecall parsed = ParseRecall(RecallOrder(RecallDevice(point)));
    EXPECT_EQ(parsed.result, 0);
    EXPECT_THAT(parsed.ack.devs, SizeIs(1));
    EXPECT_THAT(parsed.ack.devs.at(0).points, SizeIs(1));
    return parsed.ack.devs.at(0).points.at(0);
  }
};

struct PointNumber {
  const char* name;
  const char* text;
  std::uint32_t number;
};

void PrintTo(const PointNumber& row, std::ostream* out) {
  *out << '"' << row.text << '"';
}

class RecalledPoint : public RecallValues, public ::testing::WithParamInterface<PointNumber> {};

TEST_P(RecalledPoint, IsReadAsUpToFourHexadecimalCharacters) {
  EXPECT_EQ(PointOf(RecallPoint(GetParam().text)).pointId, GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, RecalledPoint,
    ::testing::Values(
        PointNumber{"Lower", "1a2b", 6699}, PointNumber{"Upper", "1A2B", 6699},
        PointNumber{"Zeros", "0001", 1}, PointNumber{"OneDigit", "1", 1},
        PointNumber{"Largest", "ffff", 0xFFFF}, PointNumber{"FiveDigits", "12345", 0x1234},
        PointNumber{"EightDigits", "01031123", 0x0103}, PointNumber{"Prefix", "0x1a", 0x1A},
        PointNumber{"LongPrefix", "0x1a2b", 0x1A}, PointNumber{"Blanks", "  1a2b", 0x1A2B},
        PointNumber{"Rest", "1g2b", 1}, PointNumber{"Negative", "-1", 0xFFFFFFFF},
        PointNumber{"Empty", "", 0}, PointNumber{"Words", "pump", 0}),
    [](const auto& test) { return test.param.name; });

struct DeviceNumber {
  const char* name;
  const char* text;
  std::int32_t number;
};

void PrintTo(const DeviceNumber& row, std::ostream* out) {
  *out << '"' << row.text << '"';
}

class RecalledDevice : public RecallValues, public ::testing::WithParamInterface<DeviceNumber> {};

TEST_P(RecalledDevice, IsReadAsTwoDecimalNumbers) {
  const ParsedRecall groups = ParseRecall(RecallOrder(RecallDevice("", GetParam().text, "3")));
  const ParsedRecall addresses = ParseRecall(RecallOrder(RecallDevice("", "1", GetParam().text)));

  ASSERT_THAT(groups.ack.devs, SizeIs(1));
  EXPECT_EQ(groups.ack.devs[0].groupId, GetParam().number);
  EXPECT_EQ(groups.ack.devs[0].eqpId, 3);
  ASSERT_THAT(addresses.ack.devs, SizeIs(1));
  EXPECT_EQ(addresses.ack.devs[0].groupId, 1);
  EXPECT_EQ(addresses.ack.devs[0].eqpId, GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, RecalledDevice,
    ::testing::Values(DeviceNumber{"Plain", "12", 12}, DeviceNumber{"Above8Bits", "300", 300},
                      DeviceNumber{"Negative", "-1", -1}, DeviceNumber{"Zeros", "007", 7},
                      DeviceNumber{"Blanks", " 12", 12}, DeviceNumber{"Fraction", "1.9", 1},
                      DeviceNumber{"Hexadecimal", "0x10", 0}, DeviceNumber{"Empty", "", 0},
                      DeviceNumber{"Words", "pump", 0},
                      DeviceNumber{"AboveTheRange", "99999999999", kMost},
                      DeviceNumber{"BelowTheRange", "-99999999999", kLeast}),
    [](const auto& test) { return test.param.name; });

// A text and the local time, months from 1, that it stands for.
struct TimeText {
  const char* name;
  const char* text;
  int year, month, day, hour, minute, second;

  std::time_t Time() const { return test::LocalTimeOf(year, month, day, hour, minute, second); }
};

void PrintTo(const TimeText& row, std::ostream* out) {
  *out << '"' << row.text << '"';
}

std::string NameOf(const ::testing::TestParamInfo<TimeText>& test) {
  return test.param.name;
}

class RecalledTime : public RecallValues, public ::testing::WithParamInterface<TimeText> {};

TEST_P(RecalledTime, IsRoundedUpToAWholeMinute) {
  const auto begin = PointOf(RecallPoint("0001", GetParam().text, "2024-03-01 11:00:00"));
  const auto end = PointOf(RecallPoint("0001", "2024-03-01 11:00:00", GetParam().text));

  EXPECT_EQ(begin.beginTime, static_cast<std::uint32_t>(GetParam().Time()));
  EXPECT_EQ(begin.endTime, 1709262000U);
  EXPECT_EQ(end.beginTime, 1709262000U);
  EXPECT_EQ(end.endTime, static_cast<std::uint32_t>(GetParam().Time()));
}

INSTANTIATE_TEST_SUITE_P(
    WholeMinutes, RecalledTime,
    ::testing::Values(TimeText{"Stay", "2024-03-01 10:00:00", 2024, 3, 1, 10, 0, 0},
                      TimeText{"StayAtMidnight", "2024-03-01 00:00:00", 2024, 3, 1, 0, 0, 0},
                      TimeText{"StayIn1970", "1970-01-01 08:00:00", 1970, 1, 1, 8, 0, 0},
                      TimeText{"StayBehind2038", "2100-01-01 00:00:00", 2100, 1, 1, 0, 0, 0}),
    NameOf);
INSTANTIATE_TEST_SUITE_P(
    WithinAMinute, RecalledTime,
    ::testing::Values(TimeText{"FirstSecond", "2024-03-01 10:00:01", 2024, 3, 1, 10, 1, 0},
                      TimeText{"Half", "2024-03-01 10:00:30", 2024, 3, 1, 10, 1, 0},
                      TimeText{"LastSecond", "2024-03-01 10:00:59", 2024, 3, 1, 10, 1, 0},
                      TimeText{"OfTheHour", "2024-03-01 10:59:01", 2024, 3, 1, 11, 0, 0},
                      TimeText{"OfTheYear", "2024-12-31 23:59:01", 2025, 1, 1, 0, 0, 0},
                      TimeText{"Before1970", "1969-12-31 23:59:30", 1970, 1, 1, 0, 0, 0},
                      TimeText{"LongBefore1970", "1950-01-01 10:00:30", 1950, 1, 1, 10, 1, 0}),
    NameOf);
INSTANTIATE_TEST_SUITE_P(
    OddTexts, RecalledTime,
    ::testing::Values(TimeText{"WithoutZeros", "2024-3-1 9:5:0", 2024, 3, 1, 9, 5, 0},
                      TimeText{"WithFurtherText", "2024-03-01 10:00:00.5Z", 2024, 3, 1, 10, 0, 0},
                      TimeText{"WithManyBlanks", "2024-03-01 \\t 10:00:00", 2024, 3, 1, 10, 0, 0},
                      TimeText{"WithoutABlank", "2024-03-0110:00:00", 2024, 3, 1, 10, 0, 0},
                      TimeText{"Thirtieth", "2024-02-30 10:00:00", 2024, 3, 1, 10, 0, 0},
                      TimeText{"MonthThirteen", "2024-13-01 10:00:00", 2025, 1, 1, 10, 0, 0},
                      TimeText{"Hour24", "2024-03-01 24:00:00", 2024, 3, 2, 0, 0, 0},
                      TimeText{"Second60", "2024-03-01 10:00:60", 2024, 3, 1, 10, 1, 0}),
    NameOf);
// What cannot be read counts as nought from there on.
INSTANTIATE_TEST_SUITE_P(
    HalfTexts, RecalledTime,
    ::testing::Values(TimeText{"WithoutSeconds", "2024-03-01 10:15", 2024, 3, 1, 10, 15, 0},
                      TimeText{"WithoutClock", "2024-03-01", 2024, 3, 1, 0, 0, 0},
                      TimeText{"WithALetter", "2024-03-01T10:00:00", 2024, 3, 1, 0, 0, 0},
                      TimeText{"OtherSigns", "2024/03/01 10:00:00", 2024, 0, 0, 0, 0, 0},
                      TimeText{"UnixTime", "1709258400", 1709, 0, 0, 0, 0, 0},
                      TimeText{"Empty", "", 0, 0, 0, 0, 0, 0},
                      TimeText{"Words", "tomorrow", 0, 0, 0, 0, 0, 0}),
    NameOf);

TEST_F(RecallValues, AreLocalTimesInAndOutOfDaylightSaving) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();

  const auto span = PointOf(RecallPoint("0001", "2024-03-30 12:00:00", "2024-03-31 12:00:00"));

  EXPECT_EQ(span.beginTime, 1711796400U);  // 11:00 in Greenwich
  EXPECT_EQ(span.endTime, 1711879200U);    // 10:00 in Greenwich
}

class TimeMark : public RecallValues, public ::testing::WithParamInterface<TimeText> {};

TEST_P(TimeMark, IsReadToTheSecondAs32Bits) {
  const std::int32_t time = GetCParseMemoryInstance().TimeString2Timet(GetParam().text);

  EXPECT_EQ(time, static_cast<std::int32_t>(GetParam().Time()));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TimeMark,
    ::testing::Values(TimeText{"Plain", "2024-03-07 12:34:56", 2024, 3, 7, 12, 34, 56},
                      TimeText{"Before1970", "1969-12-31 23:59:58", 1969, 12, 31, 23, 59, 58},
                      TimeText{"Behind2038", "2040-01-01 00:00:01", 2040, 1, 1, 0, 0, 1},
                      TimeText{"WithoutClock", "2024-03-07", 2024, 3, 7, 0, 0, 0},
                      TimeText{"Empty", "", 0, 0, 0, 0, 0, 0},
                      TimeText{"Words", "now", 0, 0, 0, 0, 0, 0}),
    NameOf);

TEST_F(RecallValues, OfATimeMarkAreThoseOfTheGatewaysZone) {
  EXPECT_EQ(GetCParseMemoryInstance().TimeString2Timet("1970-01-01 08:00:07"), 7);
  EXPECT_EQ(GetCParseMemoryInstance().TimeString2Timet("2024-03-07 12:00:00"), 1709784000);
}

TEST_F(RecallValues, OfATimeMarkKnowDaylightSaving) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();

  EXPECT_EQ(GetCParseMemoryInstance().TimeString2Timet("2024-07-01 12:00:00"), 1719828000);
}

}  // namespace
