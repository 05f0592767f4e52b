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

std::vector<cloud::Exchange> AlarmUploads(const cloud::Simulator& cloud) {
  std::vector<cloud::Exchange> uploads;
  for (const auto& upload : cloud.AcceptedUploads()) {
    if (upload.endpoint == cloud::Endpoint::kAlarmData) uploads.push_back(upload);
  }
  return uploads;
}

std::vector<std::string> AlarmTimes(const std::string& document) {
  rapidjson::Document json;
  json.Parse(document.c_str());
  std::vector<std::string> times;
  for (const auto& alarm : json["data"].GetArray()) {
    times.emplace_back(alarm["alarmTime"].GetString());
  }
  return times;
}

std::vector<std::string> SentAlarmTimes(const std::vector<cloud::Exchange>& uploads) {
  std::map<std::string, std::vector<std::string>> byName;
  for (const auto& upload : uploads) byName[upload.fileName] = AlarmTimes(upload.document);
  std::vector<std::string> times;
  for (const auto& [name, ofFile] : byName) times.insert(times.end(), ofFile.begin(), ofFile.end());
  return times;
}

}  // namespace test
