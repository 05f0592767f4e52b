#include "packfile/alarmdocument.h"

#include "config/channelset.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::uint32_t kDigitalInput = 1;
constexpr std::int32_t kAlarmDataType = 0;
constexpr std::size_t kFieldBytes = 255;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

std::uint32_t PointType(std::uint32_t dataId) {
  return (dataId >> 8) & 0x0FU;
}

// What the event has of its own replaces what it would take over.
void UpdateCarryOver(const Alarm_Data_Para& event, std::time_t now, AlarmCarryOver& carryOver) {
  const auto dataId = static_cast<std::uint32_t>(event.DataId);
  if (const auto when = util::LocalTime(EventTime(event.time, now))) {
    util::CopyText(carryOver.eventTime, util::TimeMark(*when));
  }
  if (const char* code = AlarmCode(dataId, event.eventtype, event.upflag != 0)) {
    carryOver.type = code;
  }
  GetCChannelSetInstance().GetAttr(dataId, &carryOver.point);
}

void WriteValues(Writer& writer, std::uint32_t dataId, double value, const char* eventTime) {
  char pointId[kFieldBytes];
  char decimals[kFieldBytes];
  util::PrintText(pointId, sizeof(pointId), "%04X", dataId & 0xFFFFU);
  util::PrintText(decimals, sizeof(decimals), "%.3lf", value);
  writer.StartArray();
  writer.StartObject();
  writer.Key("pointId");
  writer.String(pointId);
  writer.Key("values");
  writer.StartArray();
  writer.StartObject();
  writer.Key("timeMark");
  writer.String(eventTime);
  writer.Key("value");
  writer.String(decimals);
  writer.EndObject();
  writer.EndArray();
  writer.EndObject();
  writer.EndArray();
}

void WriteAlarm(Writer& writer, const Alarm_Data_Para& event, const AlarmCarryOver& carryOver) {
  const auto dataId = static_cast<std::uint32_t>(event.DataId);
  char grade[kFieldBytes];
  char description[kFieldBytes];
  util::PrintText(grade, sizeof(grade), "%04X", static_cast<std::uint32_t>(event.grade));
  util::PrintText(description, sizeof(description), "%s(阀值:%.3lf)",
                  carryOver.point == nullptr ? "" : carryOver.point->Name, event.threshold);
  writer.StartObject();
  writer.Key("groupId");
  writer.Uint(dataId >> 24);
  writer.Key("eqpId");
  writer.Uint((dataId >> 16) & 0xFFU);
  writer.Key("alarmTime");
  writer.String(carryOver.eventTime);
  writer.Key("alarmType");
  writer.String(carryOver.type);
  writer.Key("alarmGrade");
  writer.String(grade);
  writer.Key("flag");
  writer.Int(event.upflag);
  writer.Key("alarmDes");
  writer.String(description);
  writer.Key("alarmValues");
  WriteValues(writer, dataId, event.triggervalue, carryOver.eventTime);
  writer.EndObject();
}

}  // namespace

void WriteAlarmDocument(const char* serial, std::span<const Alarm_Data_Para> events,
                        AlarmCarryOver& carryOver, rapidjson::StringBuffer& text) {
  const std::time_t now = std::time(nullptr);
  Writer writer(text);
  writer.StartObject();
  writer.Key("sn");
  RAPIDJSON_ASSERT(serial != nullptr);  // the writer itself would read through it
  writer.String(serial);
  writer.Key("alarmDataType");
  writer.Int(kAlarmDataType);
  writer.Key("data");
  writer.StartArray();
  for (const auto& event : events) {
    UpdateCarryOver(event, now, carryOver);
    WriteAlarm(writer, event, carryOver);
  }
  writer.EndArray();
  writer.EndObject();
}

const char* AlarmCode(std::uint32_t dataId, std::int32_t eventType, bool upFlag) {
  if (PointType(dataId) != kDigitalInput) {
    if (eventType == 0) return upFlag ? "10000" : "10001";
    if (eventType == 1) return upFlag ? "10100" : "10101";
    return nullptr;
  }
  if ((dataId & 0xFFU) != 0) return upFlag ? "10201" : "10200";
  if (eventType == 0) return upFlag ? "10301" : "10300";
  if (eventType == 1) return upFlag ? "10300" : "10301";
  return nullptr;
}
