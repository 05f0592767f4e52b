#include "cloud/documents.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

#include "cloud/fault.h"
#include "cloud/members.h"

namespace cloud {

namespace {

using rapidjson::Value;
using Int32 = std::numeric_limits<std::int32_t>;

constexpr std::int64_t kHighestId = 255;            // channel numbers and device addresses
constexpr std::size_t kValueCharacters = 14;        // field of a value in real and recall data
constexpr std::size_t kAlarmValueCharacters = 254;  // field of a value in alarm data
constexpr std::size_t kPointIdDigits = 4;
constexpr std::size_t kGradeDigitsAtMost = 8;
constexpr std::size_t kDescriptionBytes = 254;  // field of a description in alarm data
constexpr std::size_t kAlarmsAtMost = 20;       // in one file
constexpr std::int64_t kFlagWithValues = 1;
constexpr std::array<std::string_view, 8> kAlarmTypes{"10000", "10001", "10100", "10101",
                                                      "10200", "10201", "10300", "10301"};

// Channel number and device address of every device seen.
using Devices = std::set<std::pair<std::int64_t, std::int64_t>>;

std::string_view CheckTimeMark(Members* members, const char* key) {
  const std::string_view text = members->Text(key);
  if (!IsTimeMark(text)) {
    ThrowAt(members->PlaceOf(key), "is not a time like 2024-03-01 10:00:00");
  }
  return text;
}

std::string_view CheckPointId(Members* members) {
  const std::string_view text = members->Text("pointId");
  if (!IsUpperHex(text, kPointIdDigits, kPointIdDigits)) {
    ThrowAt(members->PlaceOf("pointId"), "is not four upper-case hexadecimal digits");
  }
  return text;
}

std::string_view CheckValue(Members* members, std::size_t fieldCharacters) {
  const std::string_view text = members->Text("value");
  if (!IsValueText(text, fieldCharacters)) {
    ThrowAt(members->PlaceOf("value"), "is not a number with three decimals");
  }
  return text;
}

TimedValue CheckTimedValue(const Value& value, const std::string& place,
                           std::size_t fieldCharacters) {
  Members members(value, place);
  TimedValue found;
  found.timeMark = CheckTimeMark(&members, "timeMark");
  found.value = CheckValue(&members, fieldCharacters);
  members.End();
  return found;
}

const Value& OnlyElement(Members* members, const char* key) {
  const Value& array = members->Array(key);
  if (array.Size() != 1) ThrowAt(members->PlaceOf(key), "does not have exactly one element");
  return array[0];
}

// Real data: one device with the current values of its points. Returns how many points it has.
std::size_t CheckDevice(const Value& device, const std::string& place, Devices* devices) {
  Members members(device, place);
  const std::int64_t group = members.Number("groupId", 0, kHighestId);
  const std::int64_t address = members.Number("eqpId", 0, kHighestId);
  if (!devices->emplace(group, address).second) ThrowAt(place, "is a device for the second time");
  CheckTimeMark(&members, "timeMark");
  const Value& points = members.Array("values");
  for (rapidjson::SizeType i = 0; i < points.Size(); ++i) {
    Members point(points[i], members.PlaceOf("values", i));
    CheckPointId(&point);
    CheckValue(&point, kValueCharacters);
    point.End();
  }
  members.End();
  return points.Size();
}

void CheckAlarmType(Members* members) {
  const std::string_view type = members->Text("alarmType");
  // The first event of a file may have no type code: its text is empty.
  const bool known =
      type.empty() || std::find(kAlarmTypes.begin(), kAlarmTypes.end(), type) != kAlarmTypes.end();
  if (!known) ThrowAt(members->PlaceOf("alarmType"), "is no alarm type code");
}

// Grades are padded to four digits; a longer one does not begin with a zero.
void CheckAlarmGrade(Members* members) {
  const std::string_view grade = members->Text("alarmGrade");
  if (!IsUpperHex(grade, kPointIdDigits, kGradeDigitsAtMost) ||
      (grade.size() > kPointIdDigits && grade.starts_with('0'))) {
    ThrowAt(members->PlaceOf("alarmGrade"), "is not four or more upper-case hexadecimal digits");
  }
}

void CheckDescription(Members* members) {
  const std::string_view description = members->Text("alarmDes");
  if (!IsDescription(description, kDescriptionBytes)) {
    ThrowAt(members->PlaceOf("alarmDes"), "does not end like (阀值:30.000)");
  }
}

void CheckAlarm(const Value& alarm, const std::string& place, Devices* devices) {
  Members members(alarm, place);
  const std::int64_t group = members.Number("groupId", 0, kHighestId);
  devices->emplace(group, members.Number("eqpId", 0, kHighestId));
  const std::string_view time = CheckTimeMark(&members, "alarmTime");
  CheckAlarmType(&members);
  CheckAlarmGrade(&members);
  members.Number("flag", Int32::min(), Int32::max());
  CheckDescription(&members);
  Members point(OnlyElement(&members, "alarmValues"), members.PlaceOf("alarmValues", 0));
  members.End();
  CheckPointId(&point);
  const std::string place0 = point.PlaceOf("values", 0);
  if (CheckTimedValue(OnlyElement(&point, "values"), place0, kAlarmValueCharacters).timeMark !=
      time) {
    ThrowAt(place0 + ".timeMark", "is not the alarm's time");
  }
  point.End();
}

RecalledPoint CheckRecalledPoint(const Value& value, const std::string& place) {
  Members members(value, place);
  RecalledPoint point;
  point.groupId = members.Number("groupId", Int32::min(), Int32::max());
  point.eqpId = members.Number("eqpId", Int32::min(), Int32::max());
  point.pointId = CheckPointId(&members);
  point.flag = members.Number("flag", 0, Int32::max());
  const Value& values = members.Array("values");
  if (point.flag != kFlagWithValues && !values.Empty()) {
    ThrowAt(members.PlaceOf("values"), "is not empty although \"flag\" is not 1");
  }
  for (rapidjson::SizeType i = 0; i < values.Size(); ++i) {
    point.values.push_back(
        CheckTimedValue(values[i], members.PlaceOf("values", i), kValueCharacters));
  }
  members.End();
  return point;
}

void CheckRealData(Members* members, DocumentFacts* facts) {
  const Value& data = members->Array("data");
  Devices devices;
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    facts->points += CheckDevice(data[i], members->PlaceOf("data", i), &devices);
  }
  facts->devices = devices.size();
}

void CheckAlarmData(Members* members, DocumentFacts* facts) {
  members->Number("alarmDataType", 0, 0);
  const Value& data = members->Array("data");
  if (data.Empty() || data.Size() > kAlarmsAtMost) {
    ThrowAt("data", "does not have 1 to 20 alarms");
  }
  Devices devices;
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    CheckAlarm(data[i], members->PlaceOf("data", i), &devices);
  }
  facts->devices = devices.size();
  facts->points = data.Size();
}

void CheckRecallData(Members* members, DocumentFacts* facts) {
  RecallData recall;
  recall.id = static_cast<std::int32_t>(members->Number("id", Int32::min(), Int32::max()));
  const Value& data = members->Array("data");
  Devices devices;
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    recall.points.push_back(CheckRecalledPoint(data[i], members->PlaceOf("data", i)));
    devices.emplace(recall.points.back().groupId, recall.points.back().eqpId);
  }
  facts->devices = devices.size();
  facts->points = data.Size();
  facts->recall = std::move(recall);
}

void CheckAfterSerialNumber(Endpoint endpoint, Members* members, DocumentFacts* facts) {
  switch (endpoint) {
    case Endpoint::kAuthorize:
      members->Number("applyType", 0, 0);
      return;
    case Endpoint::kRealData:
      return CheckRealData(members, facts);
    case Endpoint::kAlarmData:
      return CheckAlarmData(members, facts);
    case Endpoint::kCallData:
      return CheckRecallData(members, facts);
    case Endpoint::kRecallCheck:
    case Endpoint::kSkipAddress:
      return;
  }
}

rapidjson::Document Parse(const std::string& text) {
  // Iterative, so that no depth of nesting exhausts the thread's stack.
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (document.HasParseError()) {
    throw Fault("the document is not JSON from byte " + std::to_string(document.GetErrorOffset()));
  }
  return document;
}

}  // namespace

std::string FindJson(const std::string& text) {
  const rapidjson::Document document = Parse(text);
  return document.IsObject() ? "an object" : "no object";
}

DocumentFacts CheckDocument(Endpoint endpoint, const std::string& text) {
  const rapidjson::Document document = Parse(text);
  Members members(document, "");
  DocumentFacts facts;
  facts.serialNumber = members.Text("sn");
  CheckAfterSerialNumber(endpoint, &members, &facts);
  members.End();
  return facts;
}

}  // namespace cloud
