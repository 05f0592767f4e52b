// The page's call about alarms.
#include <algorithm>
#include <cstdio>
#include <mutex>

#include "console/uploads/alarmcodes.h"
#include "console/uploads/alarms.h"
#include "console/uploads/text.h"
#include "console/web/httpstatus.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::int64_t kOnAPage = 50;
constexpr std::int64_t kMostOnAPage = 200;

std::string KeyOf(const EventId& id) {
  return util::Format("%lld-%d-%lld", static_cast<long long>(id.time), id.month,
                      static_cast<long long>(id.row));
}

std::optional<EventId> ReadKey(const std::string& key) {
  const std::size_t first = key.find('-', 1);
  const std::size_t second = key.find('-', first + 1);
  if (first == std::string::npos || second == std::string::npos) return std::nullopt;
  const auto time = NumberIn(key.substr(0, first));
  const auto month = NumberIn(key.substr(first + 1, second - first - 1));
  const auto row = NumberIn(key.substr(second + 1));
  if (!time || !month || !row) return std::nullopt;
  return EventId{*time, static_cast<int>(*month), *row};
}

}  // namespace

void Alarms::AddRoutes(Router& router) {
  router.Get("/api/alarms", [this](const Call& call) { return List(call); });
}

Reply Alarms::List(const Call& call) {
  const auto before = ReadKey(call.Get("before"));
  const auto limit = NumberIn(call.Get("limit", std::to_string(kOnAPage)));
  if ((!before && !call.Get("before").empty()) || !limit) {
    return ErrorReply(kBadRequest, "The page of alarms cannot be read.");
  }
  const auto most = std::clamp<std::int64_t>(*limit, 1, kMostOnAPage);
  const std::lock_guard lock(m_mutex);
  FollowLocked();
  const auto& events = m_log.Events();
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteMember(json, "schema", 1);
    json.Key("alarms");
    json.StartArray();
    auto entry = before ? events.lower_bound(*before) : events.end();
    for (std::int64_t i = 0; i < most && entry != events.begin(); ++i) {
      --entry;
      WriteAlarm(json, entry->first, entry->second);
    }
    json.EndArray();
    json.Key("next");
    entry == events.begin() ? json.Null() : json.String(KeyOf(entry->first).c_str());
    WriteMember(json, "total", static_cast<std::int64_t>(events.size()));
    json.EndObject();
  });
}

void Alarms::WriteAlarm(JsonWriter& json, const EventId& id, const RecordedEvent& event) {
  const PointName point = m_names.Find(event.dataId);
  const AlarmMeaning meaning = MeaningOf(event.dataId, event.type, event.upFlag != 0);
  const auto upload = m_uploads.find(id);
  const bool accepted = upload != m_uploads.end();
  json.StartObject();
  WriteMember(json, "key", KeyOf(id));
  WriteMember(json, "device", point.device);
  WriteMember(json, "point", PointIdText(event.dataId));
  WriteMember(json, "name", point.name);
  WriteMember(json, "code", meaning.code);
  WriteMember(json, "meaning", meaning.meaning);
  WriteMember(json, "grade", event.grade);
  json.Key("raised");
  json.Bool(meaning.raised);
  json.Key("trigger");
  json.Double(event.trigger);
  json.Key("threshold");
  json.Double(event.threshold);
  WriteMember(json, "unit", point.unit);
  WriteMember(json, "unix_s", std::int64_t{id.time});
  WriteMember(json, "state", accepted ? "accepted" : event.taken ? "taken" : "recorded");
  WriteMember(json, "upload_id", accepted ? std::optional(upload->second) : std::nullopt);
  json.EndObject();
}

}  // namespace console
