// The JSON document of an alarm-data file, compact, keys in this order:
//   {"sn":…,"alarmDataType":0,"data":[{"groupId":channel,"eqpId":device,
//     "alarmTime":"YYYY-MM-DD hh:mm:ss","alarmType":"five digits",
//     "alarmGrade":"four or more hexadecimal digits","flag":upflag,
//     "alarmDes":"name(阀值:three decimals)",
//     "alarmValues":[{"pointId":"four hexadecimal digits",
//       "values":[{"timeMark":"as alarmTime","value":"three decimals"}]}]},…]}
// The events stand in the order in which the reader returned them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "datasource/alarmdata.h"
#include "packfile/fields.h"

inline constexpr std::size_t kAlarmsPerFile = 20;

// The name of a configured point; nothing for an unknown one.
using FindPointName = std::function<std::optional<std::string>(std::uint32_t dataId)>;

// Writes the documents of one list of events, one after the other. An event of an unknown point, of
// a type without a code or of a time that cannot be converted takes over the name, the code or the
// time of the event before it, also from the document before. The first of all has nothing to take
// over: its text is empty. On the alarm worker.
class AlarmDocumentWriter {
 public:
  AlarmDocumentWriter(const char* serial, FindPointName findPointName);

  // Writes the document of these events into `text`.
  void Write(std::span<const Alarm_Data_Para> events, rapidjson::StringBuffer& text);

 private:
  void UpdateTakenOver(const Alarm_Data_Para& event, std::time_t now);
  void WriteAlarm(DocumentWriter& writer, const Alarm_Data_Para& event) const;

  const char* m_serial;
  FindPointName m_findPointName;
  std::string m_eventTime;  // of the last event whose time could be converted
  std::string m_code;       // of the last event whose type has one
  std::string m_pointName;  // of the last event of a configured point
};

// The five-digit code of an event, a literal, or an empty text where there is none:
//   point type (bits 8-11)  low byte of node  eventtype  upflag not 0  upflag 0
//   not DI                  any               0          10000         10001
//   not DI                  any               1          10100         10101
//   DI                      not 0             any        10201         10200
//   DI                      0                 0          10301         10300
//   DI                      0                 1          10300         10301
// The meaning of upflag is reversed from row to row, deliberately.
const char* AlarmCode(std::uint32_t dataId, std::int32_t eventType, bool upFlag);
