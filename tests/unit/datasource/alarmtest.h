// What the tests of the alarm events share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "datasource/alarmdata.h"
#include "support/gateway.h"

namespace test {

using Events = std::vector<Alarm_Data_Para>;

// The values that raised the events; the tests tell events by them.
inline std::vector<double> ValuesOf(const Events& events) {
  std::vector<double> values;
  for (const auto& event : events) values.push_back(event.triggervalue);
  return values;
}

// Starts on a card without events, on 7 March 2024 at noon.
class AlarmTest : public GatewayTest {
 protected:
  // One round of the alarm worker.
  static Events Take() {
    Events events;
    EXPECT_EQ(GetCAlarmDataInstance().GetAlarmData(&events), 0U);
    return events;
  }
  // Reads the file of March 2024 for the dates from the 4th to the 7th.
  static int Read(Events& events) {
    std::tm from{};
    from.tm_year = 124;
    from.tm_mon = 2;
    from.tm_mday = 4;
    std::tm to = from;
    to.tm_mday = 7;
    return static_cast<int>(GetCAlarmDataInstance().GetDataFromDB(&events, &to, &from, &to));
  }
};

}  // namespace test
