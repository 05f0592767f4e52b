#include "system/support/alarms.h"

#include <map>

#include "util/json.h"
#include "util/timetext.h"

namespace test {

std::vector<AlarmEvent> AlarmEvents(std::time_t first, int count) {
  std::vector<AlarmEvent> events;
  for (int i = 0; i < count; ++i) {
    events.push_back(
        {.time = first + i, .dataId = 0x01030001, .threshold = 30, .triggerValue = 31.25});
  }
  return events;
}

std::vector<std::string> TimesOf(const std::vector<AlarmEvent>& events) {
  std::vector<std::string> times;
  for (const auto& event : events) times.push_back(util::TimeMark(*util::LocalTime(event.time)));
  return times;
}

std::vector<int> TakenFlags(std::time_t when) {
  std::vector<int> flags;
  const auto rows = EventWriter().Rows(when);
  for (const auto& row : rows.value()) flags.push_back(row.upload);
  return flags;
}

std::vector<std::string> SentAlarmTimes(const cloud::Simulator& cloud) {
  std::map<std::string, std::string> documents;  // by file name
  for (const auto& upload : cloud.AcceptedUploads()) {
    if (upload.endpoint == cloud::Endpoint::kAlarmData) {
      documents[upload.fileName] = upload.document;
    }
  }
  std::vector<std::string> times;
  for (const auto& [name, document] : documents) {
    rapidjson::Document json;
    json.Parse(document.c_str());
    for (const auto& alarm : json["data"].GetArray()) {
      times.emplace_back(alarm["alarmTime"].GetString());
    }
  }
  return times;
}

}  // namespace test
