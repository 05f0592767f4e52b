// The texts of a recall order as numbers and times; and a time mark as Unix time.
#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "answertest.h"
#include "support/clock.h"

using test::ParsedRecall;
using test::ParseRecall;
using test::RecallDevice;
using test::RecallOrder;
using test::RecallPoint;

namespace {

constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();

class RecallValues : public test::AnswerTest {
 protected:
  // The one point of an order with one device.
  static ST_SINGLE_CALL_POINT PointOf(const std::string& point) {
    return ParseRecall(RecallOrder(RecallDevice(point))).ack.devs.at(0).points.at(0);
  }
};

TEST_F(RecallValues, ReadAPointsNumberAsUpToFourHexadecimalCharacters) {
  struct Row {
    const char* text;
    std::uint32_t number;
  };
  for (const auto& [text, number] :
       {Row{"1a2b", 6699}, Row{"1A2B", 6699}, Row{"1", 1}, Row{"ffff", 0xFFFF},
        Row{"01031123", 0x0103}, Row{"0x1a", 0x1A}, Row{"0x1a2b", 0x1A}, Row{"  1a2b", 0x1A2B},
        Row{"1g2b", 1}, Row{"-1", 0xFFFFFFFF}, Row{"", 0}, Row{"pump", 0}}) {
    EXPECT_EQ(PointOf(RecallPoint(text)).pointId, number) << text;
  }
}

TEST_F(RecallValues, ReadChannelAndDeviceAsDecimalNumbers) {
  struct Row {
    const char* text;
    std::int32_t number;
  };
  for (const auto& [text, number] :
       {Row{"300", 300}, Row{"-1", -1}, Row{"007", 7}, Row{" 12", 12}, Row{"1.9", 1},
        Row{"0x10", 0}, Row{"", 0}, Row{"99999999999", kMost}, Row{"-99999999999", kLeast}}) {
    const ParsedRecall parsed =
        ParseRecall(RecallOrder(RecallDevice("", text, "3") + "," + RecallDevice("", "1", text)));

    EXPECT_EQ(parsed.ack.devs.at(0).groupId, number) << text;
    EXPECT_EQ(parsed.ack.devs.at(1).eqpId, number) << text;
  }
}

// A text and the local time, months from 1, that it stands for.
struct TimeText {
  const char* text;
  int year, month, day, hour, minute, second;

  std::time_t Time() const { return test::LocalTimeOf(year, month, day, hour, minute, second); }
};

TEST_F(RecallValues, RoundTimesUpToAWholeMinute) {
  const std::vector<TimeText> rows = {
      {"2024-03-01 10:00:00", 2024, 3, 1, 10, 0, 0},
      {"1970-01-01 08:00:00", 1970, 1, 1, 8, 0, 0},
      {"2100-01-01 00:00:00", 2100, 1, 1, 0, 0, 0},
      {"2024-03-01 10:00:01", 2024, 3, 1, 10, 1, 0},
      {"2024-03-01 10:00:59", 2024, 3, 1, 10, 1, 0},
      {"2024-12-31 23:59:01", 2025, 1, 1, 0, 0, 0},
      {"1969-12-31 23:59:30", 1970, 1, 1, 0, 0, 0},
      {"1950-01-01 10:00:30", 1950, 1, 1, 10, 1, 0},
      // Odd texts.
      {"2024-3-1 9:5:0", 2024, 3, 1, 9, 5, 0},
      {"2024-03-01 10:00:00.5Z", 2024, 3, 1, 10, 0, 0},
      {"2024-03-0110:00:00", 2024, 3, 1, 10, 0, 0},
      {"2024-02-30 10:00:00", 2024, 3, 1, 10, 0, 0},
      {"2024-13-01 24:00:60", 2025, 1, 2, 0, 1, 0},
      // A field that cannot be read counts as 0, and so do those after it.
      {"2024-03-01 10:15", 2024, 3, 1, 10, 15, 0},
      {"2024-03-01T10:00:00", 2024, 3, 1, 0, 0, 0},
      {"2024/03/01 10:00:00", 2024, 0, 0, 0, 0, 0},
      {"1709258400", 1709, 0, 0, 0, 0, 0},
      {"", 0, 0, 0, 0, 0, 0}};
  for (const TimeText& row : rows) {
    SCOPED_TRACE(row.text);
    const auto point = PointOf(RecallPoint("0001", row.text, row.text));

    EXPECT_EQ(point.beginTime, static_cast<std::uint32_t>(row.Time()));
    EXPECT_EQ(point.endTime, point.beginTime);
  }
}

TEST_F(RecallValues, ReadLocalTimesInAndOutOfDaylightSaving) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();

  const auto span = PointOf(RecallPoint("0001", "2024-03-30 12:00:00", "2024-03-31 12:00:00"));

  EXPECT_EQ(span.beginTime, 1711796400U);  // 11:00 in Greenwich
  EXPECT_EQ(span.endTime, 1711879200U);    // 10:00 in Greenwich
}

TEST_F(RecallValues, ReadATimeMarkToTheSecondAs32Bits) {
  for (const auto& row :
       {TimeText{"2024-03-07 12:34:56", 2024, 3, 7, 12, 34, 56},
        TimeText{"1969-12-31 23:59:58", 1969, 12, 31, 23, 59, 58},
        TimeText{"2040-01-01 00:00:01", 2040, 1, 1, 0, 0, 1}, TimeText{"now", 0, 0, 0, 0, 0, 0}}) {
    EXPECT_EQ(GetCParseMemoryInstance().TimeString2Timet(row.text),
              static_cast<std::int32_t>(row.Time()))
        << row.text;
  }
}

}  // namespace
