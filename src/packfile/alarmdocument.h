// The JSON document of an alarm-data file, compact, keys in this order:
//   {"sn":…,"alarmDataType":0,"data":[{"groupId":channel,"eqpId":device,
//     "alarmTime":"YYYY-MM-DD hh:mm:ss","alarmType":"five digits","alarmGrade":"%04X",
//     "flag":upflag,"alarmDes":"name(阀值:three decimals)",
//     "alarmValues":[{"pointId":"%04X of the DataId's low 16 bits",
//       "values":[{"timeMark":"as alarmTime","value":"three decimals"}]}]},…]}
// At most kAlarmsPerFile events; they stand in the order in which the reader returned them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <span>

#include "config/channelrecords.h"
#include "datasource/alarmdata.h"
#include "util/json.h"

inline constexpr std::size_t kAlarmsPerFile = 20;

// What one event lends the next where it has none of its own, within one call of the builder and
// across its files.
struct AlarmCarryOver {
  char eventTime[47];      // of an event whose time can be converted
  const char* type;        // of an event whose type has a code; empty before the first
  ST_POINTID_ATTR* point;  // of an event of a configured point; null before the first
};
inline constexpr AlarmCarryOver kNothingCarriedOver{.eventTime = "", .type = "", .point = nullptr};

// Writes the document of these events into `text`.
void WriteAlarmDocument(const char* serial, std::span<const Alarm_Data_Para> events,
                        AlarmCarryOver& carryOver, rapidjson::StringBuffer& text);

// The five-digit code of an event, or null where there is none:
//   point type (bits 8-11)  low byte of node  eventtype  upflag not 0  upflag 0
//   not DI                  any               0          10000         10001
//   not DI                  any               1          10100         10101
//   DI                      not 0             any        10201         10200
//   DI                      0                 0          10301         10300
//   DI                      0                 1          10300         10301
// The sense of upflag turns round from row to row, deliberately.
const char* AlarmCode(std::uint32_t dataId, std::int32_t eventType, bool upFlag);
