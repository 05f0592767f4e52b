// The texts of a recall order as numbers and times; and a time mark as Unix time.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "answertest.h"
#include "support/clock.h"

using namespace test;

namespace {

class RecallValues : public GatewayTest {
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
  const auto devices = ParseRecall(RecallOrder(RecallDevice("", "300", "-1") + "," +
                                               RecallDevice("", "0x10", "007")))
                           .ack.devs;

  EXPECT_EQ(devices.at(0).groupId, 300);
  EXPECT_EQ(devices.at(0).eqpId, -1);
  EXPECT_EQ(devices.at(1).groupId, 0);
  EXPECT_EQ(devices.at(1).eqpId, 7);
}

// A text and the local time, months from 1, that it stands for.
struct TimeText {
  const char* text;
  int year, month, day, hour, minute, second;

  std::time_t Time() const { return LocalTimeOf(year, month, day, hour, minute, second); }
};

TEST_F(RecallValues, RoundTimesUpToAWholeMinute) {
  const std::vector<TimeText> rows = {
      {"2024-03-01 10:00:00", 2024, 3, 1, 10, 0, 0}, {"2100-01-01 00:00:00", 2100, 1, 1, 0, 0, 0},
      {"2024-03-01 10:00:01", 2024, 3, 1, 10, 1, 0}, {"2024-03-01 10:00:59", 2024, 3, 1, 10, 1, 0},
      {"2024-12-31 23:59:01", 2025, 1, 1, 0, 0, 0},  {"1969-12-31 23:59:30", 1970, 1, 1, 0, 0, 0},
      {"1950-01-01 10:00:30", 1950, 1, 1, 10, 1, 0}, {"2024-13-01 24:00:60", 2025, 1, 2, 0, 1, 0},
      {"2024-03-01T10:00:00", 2024, 3, 1, 0, 0, 0},  {"", 0, 0, 0, 0, 0, 0}};
  for (const TimeText& row : rows) {
    SCOPED_TRACE(row.text);
    const auto point = PointOf(RecallPoint("0001", row.text, row.text));

    EXPECT_EQ(point.beginTime, static_cast<std::uint32_t>(row.Time()));
    EXPECT_EQ(point.endTime, point.beginTime);
  }
}

TEST_F(RecallValues, ReadATimeMarkToTheSecondAs32Bits) {
  for (const auto& row : {TimeText{"2024-03-07 12:34:56", 2024, 3, 7, 12, 34, 56},
                          TimeText{"2040-01-01 00:00:01", 2040, 1, 1, 0, 0, 1}}) {
    EXPECT_EQ(GetCParseMemoryInstance().TimeString2Timet(row.text),
              static_cast<std::int32_t>(row.Time()));
  }
}

}  // namespace
