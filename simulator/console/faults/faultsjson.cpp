// The faults as JSON.
#include <algorithm>
#include <mutex>

#include "console/faults/faults.h"

namespace console {

namespace {

constexpr std::size_t kRecentRuns = 20;  // in the state

void WriteParam(JsonWriter& json, const FaultParam& param) {
  json.StartObject();
  WriteText(json, "name", param.name);
  WriteText(json, "title", param.title);
  WriteText(json, "kind", param.kind);
  const bool isNumber = param.kind == "number";
  if (isNumber) {
    json.Key("min"), json.Int64(param.min);
    json.Key("max"), json.Int64(param.max);
    json.Key("default"), json.Int64(std::stol(param.standard));
  } else {
    json.Key("choices");
    json.StartArray();
    for (const std::string& choice : param.choices) json.String(choice.c_str());
    json.EndArray();
    WriteText(json, "default", param.standard);
  }
  json.EndObject();
}

void WriteCounts(JsonWriter& json, const char* key, const FileCounts& counts) {
  json.Key(key);
  json.StartObject();
  json.Key("produced"), json.Int64(counts.produced);
  json.Key("accepted"), json.Int64(counts.accepted);
  json.Key("pending"), json.Int64(counts.pending);
  json.Key("aged"), json.Int64(counts.aged);
  json.Key("judged_sent"), json.Int64(counts.judgedSent);
  json.Key("lost"), json.Int64(counts.lost);
  json.Key("delivered_twice"), json.Int64(counts.deliveredTwice);
  json.EndObject();
}

// {"fault":"refuse-uploads","params":{"kind":"all"}}
std::string NameOf(const FaultRun& run) {
  return JsonReply([&run](JsonWriter& json) {
           json.StartObject();
           WriteText(json, "fault", run.What().name);
           json.Key("params");
           json.StartObject();
           for (const auto& [name, value] : run.Params()) WriteText(json, name.c_str(), value);
           json.EndObject();
           json.EndObject();
         })
      .body;
}

}  // namespace

void Faults::WriteFault(JsonWriter& json, const Fault& fault) const {
  json.StartObject();
  WriteText(json, "fault", fault.name);
  WriteText(json, "group", fault.group);
  WriteText(json, "title", fault.title);
  WriteText(json, "text", fault.text);
  json.Key("expectation_texts");
  json.StartArray();
  for (const Expectation& each : fault.expectations(StandardParams(fault)))
    json.String(each.text.c_str());
  json.EndArray();
  json.Key("seconds"), json.Int64(fault.seconds);
  json.Key("params");
  json.StartArray();
  for (const FaultParam& param : fault.params) WriteParam(json, param);
  json.EndArray();
  const std::string reason = m_actions.WhyNot(fault.name);
  json.Key("available"), json.Bool(reason.empty());
  json.Key("reason");
  reason.empty() ? json.Null() : json.String(reason.c_str());
  json.EndObject();
}

void Faults::WriteRun(JsonWriter& json, int number) const {
  const auto run = std::ranges::find(m_runs, number, &FaultRun::Id);
  if (run == m_runs.end()) return void(json.Null());
  run->Write(json, m_seen);
}

void Faults::WriteRuns(JsonWriter& json, const char* key, bool ended) const {
  std::vector<const FaultRun*> wanted;
  for (const FaultRun& run : m_runs) {
    if ((run.Now() == FaultRun::State::kEnded) == ended) wanted.push_back(&run);
  }
  const std::size_t skipped =
      ended && wanted.size() > kRecentRuns ? wanted.size() - kRecentRuns : 0;
  json.Key(key);
  json.StartArray();
  for (std::size_t i = skipped; i < wanted.size(); ++i) wanted[i]->Write(json, m_seen);
  json.EndArray();
}

void Faults::WriteRandom(JsonWriter& json) const {
  json.Key("random");
  if (!m_random) return void(json.Null());
  json.StartObject();
  json.Key("until_unix_s"),
      json.Int64(m_seen.now + static_cast<std::time_t>(m_random->until - m_seen.elapsed));
  json.Key("seed"), json.Uint(m_random->seed);
  json.EndObject();
}

void Faults::WriteLatestRandom(JsonWriter& json) const {
  json.Key("random");
  if (!m_latestRandom) return void(json.Null());
  json.StartObject();
  json.Key("seed"), json.Uint(m_latestRandom->seed);
  json.Key("minutes"), json.Double(m_latestRandom->minutes);
  json.Key("started_unix_s"), json.Int64(m_latestRandom->started);
  json.EndObject();
}

void Faults::WriteMembers(JsonWriter& json) const {
  WriteRuns(json, "active", false);
  WriteRuns(json, "recent", true);
  WriteRandom(json);
}

void Faults::Show() {
  std::string text = JsonReply([this](JsonWriter& json) {
                       json.StartObject();
                       WriteMembers(json);
                       json.EndObject();
                     }).body;
  const std::lock_guard lock(m_shownMutex);
  m_shown = std::move(text);
}

void Faults::WriteState(JsonWriter& json) const {
  const std::lock_guard lock(m_shownMutex);
  json.Key("faults");
  json.RawValue(m_shown.data(), m_shown.size(), rapidjson::kObjectType);
}

void Faults::WriteReport(JsonWriter& json) const {
  const auto failed = std::ranges::count_if(m_runs, [](const FaultRun& run) {
    return run.Now() == FaultRun::State::kEnded && !run.IsAsExpected();
  });
  const auto ended = std::ranges::count(m_runs, FaultRun::State::kEnded, &FaultRun::Now);
  json.StartObject();
  json.Key("schema"), json.Int(1);
  json.Key("made_unix_s"), json.Int64(m_seen.now);
  json.Key("ended"), json.Int64(ended);
  json.Key("not_as_expected"), json.Int64(failed);
  WriteLatestRandom(json);
  json.Key("account");
  json.StartObject();
  WriteCounts(json, "total", m_seen.total);
  for (const auto& [kind, counts] : m_seen.kinds) WriteCounts(json, kind.c_str(), counts);
  json.EndObject();
  json.Key("runs");
  json.StartArray();
  for (const FaultRun& run : m_runs) run.Write(json, m_seen);
  json.EndArray();
  json.EndObject();
}

std::string Faults::Lasting(const std::string& path, const std::string& body) const {
  rapidjson::Document parsed;
  if (path != "/api/faults/stop" || parsed.Parse(body.c_str()).HasParseError()) return body;
  const rapidjson::Value& call = parsed;
  const auto number = call.FindMember("run");
  if (number == call.MemberEnd() || !number->value.IsInt()) return body;
  const std::lock_guard lock(m_mutex);
  const auto run = std::ranges::find(m_runs, number->value.GetInt(), &FaultRun::Id);
  return run == m_runs.end() ? body : NameOf(*run);
}

}  // namespace console
