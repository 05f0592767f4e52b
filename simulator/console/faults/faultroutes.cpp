// The faults in the console's API.
#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "console/faults/faults.h"

namespace console {

namespace {

constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kNotNow = 409;
constexpr double kLongestSeconds = 86400;
constexpr double kMostMinutes = 1440;
constexpr std::size_t kRecentRuns = 20;  // in the state

void WriteText(JsonWriter& json, const char* key, const std::string& text) {
  json.Key(key);
  json.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

// A number of a call, or `standard`. Throws when it is not within its limits.
double NumberIn(const rapidjson::Value& body, const char* name, double least, double most,
                std::optional<double> standard = {}) {
  const auto found = body.FindMember(name);
  if (found == body.MemberEnd() && standard) return *standard;
  const bool isNumber = found != body.MemberEnd() && found->value.IsNumber();
  const double number =
      isNumber ? found->value.GetDouble() : std::numeric_limits<double>::quiet_NaN();
  if (number >= least && number <= most) return number;
  throw std::invalid_argument(std::string(name) + " must be a number from " +
                              std::to_string(std::lround(least)) + " to " +
                              std::to_string(std::lround(most)));
}

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

// Turns what a call's function throws into a reply.
Reply Guarded(const std::function<Reply()>& answer) {
  try {
    return answer();
  } catch (const std::invalid_argument& error) {
    return ErrorReply(kBadRequest, error.what());
  } catch (const Faults::Refused& error) {
    return ErrorReply(kNotNow, error.what());
  }
}

Reply Done() {
  return JsonReply([](JsonWriter& json) {
    json.StartObject();
    json.Key("schema"), json.Int(1);
    json.EndObject();
  });
}

}  // namespace

void Faults::AddRoutes(Router& router) {
  router.Get("/api/faults", [this](const Call&) { return AnswerCatalogue(); });
  router.Get("/api/faults/report", [this](const Call&) { return AnswerReport(); });
  router.Post("/api/faults/start",
              [this](const Call& call) { return Guarded([&] { return AnswerStart(call); }); });
  router.Post("/api/faults/stop",
              [this](const Call& call) { return Guarded([&] { return AnswerStop(call); }); });
  router.Post("/api/faults/random",
              [this](const Call& call) { return Guarded([&] { return AnswerRandom(call); }); });
  router.Post("/api/faults/off", [this](const Call&) {
    AllOff();
    return Done();
  });
}

Reply Faults::AnswerStart(const Call& call) {
  const rapidjson::Value& body = *call.body;
  const auto name = body.FindMember("fault");
  const Fault* const fault = name != body.MemberEnd() && name->value.IsString()
                                 ? FindFault(name->value.GetString())
                                 : nullptr;
  if (fault == nullptr) throw std::invalid_argument("there is no such fault");
  const auto params = body.FindMember("params");
  const FaultParams checked =
      CheckParams(*fault, params == body.MemberEnd() ? nullptr : &params->value);
  const double seconds =
      NumberIn(body, "seconds", 1, kLongestSeconds, static_cast<double>(fault->seconds));
  const int run = Start(fault->name, checked, seconds);
  const std::lock_guard lock(m_mutex);
  return JsonReply([&](JsonWriter& json) { WriteRun(json, run); });
}

Reply Faults::AnswerStop(const Call& call) {
  const int run = static_cast<int>(NumberIn(*call.body, "run", 1, std::numeric_limits<int>::max()));
  if (!Stop(run)) return ErrorReply(kNotFound, "there is no active run " + std::to_string(run));
  return Done();
}

Reply Faults::AnswerRandom(const Call& call) {
  const double minutes = NumberIn(*call.body, "minutes", 1, kMostMinutes);
  const double seed = NumberIn(*call.body, "seed", 0, std::numeric_limits<std::uint32_t>::max());
  StartRandom(minutes, static_cast<std::uint32_t>(seed));
  return Done();
}

Reply Faults::AnswerCatalogue() const {
  const std::lock_guard lock(m_mutex);
  return JsonReply([this](JsonWriter& json) {
    json.StartObject();
    json.Key("schema"), json.Int(1);
    json.Key("catalogue");
    json.StartArray();
    for (const Fault& fault : FaultCatalogue()) WriteFault(json, fault);
    json.EndArray();
    WriteMembers(json);
    json.EndObject();
  });
}

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

void Faults::WriteMembers(JsonWriter& json) const {
  WriteRuns(json, "active", false);
  WriteRuns(json, "recent", true);
  WriteRandom(json);
}

void Faults::WriteState(JsonWriter& json) const {
  const std::lock_guard lock(m_mutex);
  json.Key("faults");
  json.StartObject();
  WriteMembers(json);
  json.EndObject();
}

Reply Faults::AnswerReport() const {
  const std::lock_guard lock(m_mutex);
  Reply reply = JsonReply([this](JsonWriter& json) { WriteReport(json); });
  reply.downloadName = "bench-report.json";
  return reply;
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
  WriteRandom(json);
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

}  // namespace console
