// The alarm events of the plant, decoded, and what has become of each.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/uploads/alarmlog.h"
#include "console/uploads/cloudindex.h"
#include "console/uploads/plantnames.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// One event for a curve.
struct AlarmSight {
  std::time_t time = 0;
  std::string text{};  // "above the upper limit: 31.500 against 30.000"
  bool raised = true;
};

// Joins the events on the card with the alarm documents that the cloud has accepted. Every thread
// may call it.
class Alarms {
 public:
  // `now` gives gateway time. Index and names outlive the object.
  Alarms(const CloudIndex& index, PlantNames& names, std::function<std::time_t()> now)
      : m_index(index), m_names(names), m_now(std::move(now)) {}

  // GET /api/alarms.
  void AddRoutes(Router& router);
  // The events of a point in a span of gateway time, the oldest first.
  std::vector<AlarmSight> Between(std::uint32_t dataId, std::time_t from, std::time_t to);
  // Reads what is new on the card and at the cloud, but not twice in half a second. The other
  // functions do so, too; a loop may call it so that they have less to read.
  void Follow();

 private:
  void FollowLocked();  // under m_mutex
  void TakeDocuments();
  void Match();
  Reply List(const Call& call);
  void WriteAlarm(JsonWriter& json, const EventId& id, const RecordedEvent& event);

  const CloudIndex& m_index;
  PlantNames& m_names;
  const std::function<std::time_t()> m_now;
  util::Mutex m_mutex;  // guards everything below
  AlarmLog m_log;
  std::chrono::steady_clock::time_point m_nextLook{};
  std::int64_t m_lastUpload = 0;
  std::set<std::string> m_files;  // whose documents were taken
  // Uploads of events that are not matched yet, by AlarmKey.
  std::map<std::string, std::deque<std::int64_t>> m_delivered;
  std::map<EventId, std::int64_t> m_uploads;  // the upload that brought an event
};

}  // namespace console
