#include "packfile/alarmdocument.h"

#include <utility>

#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::uint32_t kDigitalInput = 1;
constexpr std::int32_t kAlarmDataType = 0;

std::uint32_t PointType(std::uint32_t dataId) {
  return (dataId >> 8) & 0x0FU;
}

void WriteDescription(DocumentWriter& writer, const std::string& pointName, double threshold) {
  char description[kAlarmFieldBytes];
  util::PrintText(description, sizeof(description), "%s(阀值:%.3lf)", pointName.c_str(), threshold);
  writer.Key("alarmDes");
  writer.String(description);
}

// "alarmValues": one point with one value.
void WriteAlarmValues(DocumentWriter& writer, std::uint32_t dataId, double value,
                      const std::string& eventTime) {
  writer.Key("alarmValues");
  writer.StartArray();
  writer.StartObject();
  WritePointId(writer, dataId);
  writer.Key("values");
  writer.StartArray();
  WriteTimedValue(writer, eventTime, value, kAlarmFieldBytes);
  writer.EndArray();
  writer.EndObject();
  writer.EndArray();
}

}  // namespace

AlarmDocumentWriter::AlarmDocumentWriter(const char* serial, FindPointName findPointName)
    : m_serial(serial), m_findPointName(std::move(findPointName)) {}

void AlarmDocumentWriter::Write(std::span<const Alarm_Data_Para> events,
                                rapidjson::StringBuffer& text) {
  const std::time_t now = std::time(nullptr);
  util::UpdateZone();
  DocumentWriter writer(text);
  writer.StartObject();
  WriteSerial(writer, m_serial);
  writer.Key("alarmDataType");
  writer.Int(kAlarmDataType);
  writer.Key("data");
  writer.StartArray();
  for (const auto& event : events) {
    UpdateTakenOver(event, now);
    WriteAlarm(writer, event);
  }
  writer.EndArray();
  writer.EndObject();
}

void AlarmDocumentWriter::UpdateTakenOver(const Alarm_Data_Para& event, std::time_t now) {
  const auto dataId = static_cast<std::uint32_t>(event.DataId);
  if (const auto when = util::TimeInZone(EventTime(event.time, now))) {
    m_eventTime = util::TimeMark(*when);
  }
  const std::string code = AlarmCode(dataId, event.eventtype, event.upflag != 0);
  if (!code.empty()) m_code = code;
  if (auto name = m_findPointName(dataId)) m_pointName = std::move(*name);
}

void AlarmDocumentWriter::WriteAlarm(DocumentWriter& writer, const Alarm_Data_Para& event) const {
  const auto dataId = static_cast<std::uint32_t>(event.DataId);
  writer.StartObject();
  writer.Key("groupId");
  writer.Uint(dataId >> 24);
  writer.Key("eqpId");
  writer.Uint((dataId >> 16) & 0xFFU);
  writer.Key("alarmTime");
  writer.String(m_eventTime.c_str());
  writer.Key("alarmType");
  writer.String(m_code.c_str());
  WriteHex(writer, "alarmGrade", static_cast<std::uint32_t>(event.grade));
  writer.Key("flag");
  writer.Int(event.upflag);
  WriteDescription(writer, m_pointName, event.threshold);
  WriteAlarmValues(writer, dataId, event.triggervalue, m_eventTime);
  writer.EndObject();
}

const char* AlarmCode(std::uint32_t dataId, std::int32_t eventType, bool upFlag) {
  if (PointType(dataId) != kDigitalInput) {
    if (eventType == 0) return upFlag ? "10000" : "10001";
    if (eventType == 1) return upFlag ? "10100" : "10101";
    return "";
  }
  if ((dataId & 0xFFU) != 0) return upFlag ? "10201" : "10200";
  if (eventType == 0) return upFlag ? "10301" : "10300";
  if (eventType == 1) return upFlag ? "10300" : "10301";
  return "";
}
