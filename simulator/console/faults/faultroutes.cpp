// The faults in the console's API.
#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "console/faults/faults.h"
#include "console/web/httpstatus.h"

namespace console {

namespace {

constexpr double kLongestSeconds = 86400;
constexpr double kMostMinutes = 1440;

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

// The fault that a call names, and its parameters. Throws when there is none.
std::pair<const Fault*, FaultParams> FaultIn(const rapidjson::Value& body) {
  const auto name = body.FindMember("fault");
  const Fault* const fault = name != body.MemberEnd() && name->value.IsString()
                                 ? FindFault(name->value.GetString())
                                 : nullptr;
  if (fault == nullptr) throw std::invalid_argument("there is no such fault");
  const auto params = body.FindMember("params");
  return {fault, CheckParams(*fault, params == body.MemberEnd() ? nullptr : &params->value)};
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
  const auto [fault, params] = FaultIn(*call.body);
  const double seconds =
      NumberIn(*call.body, "seconds", 1, kLongestSeconds, static_cast<double>(fault->seconds));
  const int run = Start(fault->name, params, seconds);
  const std::lock_guard lock(m_mutex);
  return JsonReply([&](JsonWriter& json) { WriteRun(json, run); });
}

Reply Faults::AnswerStop(const Call& call) {
  if (call.body->HasMember("fault")) {
    const auto [fault, params] = FaultIn(*call.body);
    if (Stop(fault->name, params)) return Done();
    return ErrorReply(kNotFound, "'" + fault->title + "' is not active");
  }
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

Reply Faults::AnswerReport() const {
  const std::lock_guard lock(m_mutex);
  Reply reply = JsonReply([this](JsonWriter& json) { WriteReport(json); });
  reply.downloadName = "bench-report.json";
  return reply;
}

}  // namespace console
