// What the tests of the alarm events share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <vector>

#include "datasource/alarmdata.h"
#include "support/gateway.h"

namespace test {

constexpr std::time_t kDay = 86400;
constexpr auto kFailure = static_cast<std::uint32_t>(-1);

using Events = std::vector<Alarm_Data_Para>;

inline std::tm BrokenDown(std::time_t when) {
  std::tm time{};
  localtime_r(&when, &time);
  return time;
}

// The values that raised the events; the tests tell events by them.
inline std::vector<double> ValuesOf(const Events& events) {
  std::vector<double> values;
  for (const auto& event : events) values.push_back(event.triggervalue);
  return values;
}

// What it is for: tests of the alarm events, each starting on a card without any, on the 7th of
// March 2024 at noon.
class AlarmTest : public GatewayTest {
 protected:
  static CAlarmData& Alarms() { return GetCAlarmDataInstance(); }
  // One turn of the alarm worker.
  static Events Take() {
    Events events;
    EXPECT_EQ(Alarms().GetAlarmData(&events), 0U);
    return events;
  }
  // One visit to the file of March 2024, for the dates from the 4th to the 7th.
  static std::uint32_t Visit(Events* events) {
    std::tm from{};
    from.tm_year = 124;
    from.tm_mon = 2;
    from.tm_mday = 4;
    std::tm to = from;
    to.tm_mday = 7;
    return Alarms().GetDataFromDB(events, &to, &from, &to);
  }
};

}  // namespace test
