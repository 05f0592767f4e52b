// The members of the state that the watch writes.
#include <mutex>

#include "console/watch/put.h"
#include "console/watch/watcher.h"

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;

void WriteCounts(JsonWriter& json, const char* key, const Counts& counts) {
  json.Key(key);
  json.StartObject();
  Put(json, "produced", counts.produced);
  Put(json, "accepted", counts.accepted);
  Put(json, "pending", counts.pending);
  Put(json, "aged", counts.aged);
  Put(json, "judged_sent", counts.judgedSent);
  Put(json, "lost", counts.lost);
  Put(json, "lost_unrecorded", counts.lost - counts.lostRecorded);
  Put(json, "delivered_twice", counts.deliveredTwice);
  json.EndObject();
}

void WriteStage(JsonWriter& json, const Stage& stage) {
  json.StartObject();
  Put(json, "id", stage.id);
  Put(json, "title", stage.title);
  Put(json, "state", stage.state);
  Put(json, "count", stage.count);
  Put(json, "unit", stage.unit);
  Put(json, "text", stage.text);
  json.EndObject();
}

void WriteWorker(JsonWriter& json, const Worker& worker) {
  json.StartObject();
  Put(json, "id", worker.id);
  Put(json, "title", worker.title);
  Put(json, "interval_s", worker.intervalSeconds);
  Put(json, "next_unix_s", worker.next);
  json.EndObject();
}

long AgeOf(const StatusSight& status) {
  const auto age = std::chrono::steady_clock::now() - status.at;
  return static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(age).count());
}

}  // namespace

void Watcher::WriteAccount(JsonWriter& json) const {
  json.Key("account");
  json.StartObject();
  Put(json, "normal", m_witness.level == status::Level::kOk);
  Put(json, "text", m_witness.text);
  json.Key("reasons");
  json.StartArray();
  for (const Reason& reason : m_witness.reasons) PutText(json, reason.text);
  json.EndArray();
  WriteCounts(json, "total", m_account.Total());
  for (const Kind kind : {Kind::kRealData, Kind::kAlarmData, Kind::kCallData}) {
    WriteCounts(json, NameOf(kind), m_account.Of(kind));
  }
  Put(json, "never_made", m_gapCounts.files);
  json.EndObject();
}

void Watcher::WriteRoad(JsonWriter& json) const {
  json.Key("road");
  json.StartObject();
  json.Key("stages");
  json.StartArray();
  for (const Stage& stage : m_road.stages) WriteStage(json, stage);
  json.EndArray();
  json.Key("login");
  json.StartObject();
  Put(json, "done", m_road.login.isDone);
  Put(json, "since_unix_s", m_road.login.since);
  Put(json, "text", m_road.login.text);
  json.EndObject();
  Put(json, "address", m_road.address);
  Put(json, "heartbeat_unix_s", m_road.heartbeat);
  json.Key("workers");
  json.StartArray();
  for (const Worker& worker : m_road.workers) WriteWorker(json, worker);
  json.EndArray();
  json.EndObject();
}

void Watcher::WriteVerdicts(JsonWriter& json) const {
  const StatusSight status = m_status.Latest();
  const bool hasRun = status.at != std::chrono::steady_clock::time_point{};
  json.Key("verdicts");
  json.StartObject();
  json.Key("status");
  json.StartObject();
  Put(json, "exit", hasRun ? std::optional(status.exit) : std::nullopt);
  Put(json, "level", status.level);
  Put(json, "code", status.code.empty() ? std::nullopt : std::optional(status.code));
  Put(json, "text", status.text);
  Put(json, "age_real_s", hasRun ? std::optional(AgeOf(status)) : std::nullopt);
  json.EndObject();
  json.Key("witness");
  json.StartObject();
  Put(json, "level", WordOf(m_witness.level));
  Put(json, "text", m_witness.text);
  json.EndObject();
  Put(json, "agree", m_agreed.disagreement.empty());
  Put(json, "text", m_agreed.disagreement);
  Put(json, "note", m_agreed.note);
  PutTime(json, "differ_since_unix_s", m_agreed.since);
  Put(json, "patience_s", m_agreed.patience);
  json.EndObject();
}

void Watcher::WriteCard(JsonWriter& json) const {
  const auto& space = m_scene.card.space;
  json.Key("card");
  json.StartObject();
  using Bytes = std::optional<std::int64_t>;
  Put(json, "free_bytes", space ? Bytes(space->freeBytes) : Bytes());
  Put(json, "total_bytes", space ? Bytes(space->totalBytes) : Bytes());
  Put(json, "space_trouble", SpaceTrouble(m_scene));
  json.EndObject();
}

void Watcher::WriteState(JsonWriter& json) const {
  const Lock lock(m_mutex);
  WriteAccount(json);
  WriteRoad(json);
  WriteVerdicts(json);
  WriteCard(json);
}

}  // namespace console
