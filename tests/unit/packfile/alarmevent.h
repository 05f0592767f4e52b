// Alarm events, as the event reader hands them over.
#pragma once

#include <cstdint>
#include <ctime>

#include "datasource/alarmdata.h"

namespace test {

// `AlarmEvent(0x0C030105).Type(1).UpFlag(1)`; at first of 2024-03-07 11:59:30 in the tests' zone,
// with every other field 0.
class AlarmEvent {
 public:
  explicit AlarmEvent(std::uint32_t dataId) {
    m_event.DataId = static_cast<std::int32_t>(dataId);
    m_event.time = 1709783970;
  }
  AlarmEvent& At(std::time_t time) {
    m_event.time = static_cast<std::int32_t>(time);  // as the reader keeps it
    return *this;
  }
  AlarmEvent& Threshold(double threshold) {
    m_event.threshold = threshold;
    return *this;
  }
  AlarmEvent& Value(double value) {
    m_event.triggervalue = value;
    return *this;
  }
  AlarmEvent& Type(std::int32_t type) {
    m_event.eventtype = type;
    return *this;
  }
  AlarmEvent& Grade(std::int32_t grade) {
    m_event.grade = grade;
    return *this;
  }
  AlarmEvent& UpFlag(std::int32_t flag) {
    m_event.upflag = flag;
    return *this;
  }
  operator Alarm_Data_Para() const { return m_event; }  // NOLINT(google-explicit-constructor)

 private:
  Alarm_Data_Para m_event{};
};

}  // namespace test
