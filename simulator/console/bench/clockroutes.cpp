#include "console/bench/clockroutes.h"

#include <stdexcept>

#include "console/web/httpstatus.h"
#include "util/timetext.h"

namespace console {
namespace {

constexpr int kLongestStep = 40 * 86400;  // seconds

Reply Change(Clock& clock, const Call& call) {
  const rapidjson::Value& body = *call.body;
  const auto speed = body.FindMember("speed");
  const auto step = body.FindMember("step_s");
  const bool hasSpeed = speed != body.MemberEnd();
  const bool hasStep = step != body.MemberEnd();
  if (!hasSpeed && !hasStep) return ErrorReply(kBadRequest, "Give \"speed\" or \"step_s\".");
  if (hasSpeed && !speed->value.IsNumber()) {
    return ErrorReply(kBadRequest, "\"speed\" must be a number.");
  }
  if (hasStep && (!step->value.IsInt() || step->value.GetInt() > kLongestStep ||
                  step->value.GetInt() < -kLongestStep)) {
    return ErrorReply(kBadRequest,
                      "\"step_s\" must be a whole number of seconds, 40 days at most.");
  }
  try {
    if (hasSpeed) clock.SetSpeed(speed->value.GetDouble());
  } catch (const std::invalid_argument& error) {
    return ErrorReply(kBadRequest, error.what());
  }
  if (hasStep) clock.Step(step->value.GetInt());
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    json.Key("schema"), json.Int(1);
    json.Key("gateway_unix_s"), json.Int64(clock.Now());
    json.Key("speed"), json.Double(clock.Speed());
    json.EndObject();
  });
}

}  // namespace

void AddClockRoutes(Clock& clock, Router& router) {
  router.Post("/api/clock", [&clock](const Call& call) { return Change(clock, call); });
}

void WriteClocks(const Clock& clock, const std::string& place, JsonWriter& json) {
  const std::time_t now = clock.Now();
  const auto local = util::LocalTime(now);
  json.Key("clocks");
  json.StartObject();
  json.Key("gateway_unix_s"), json.Int64(now);
  json.Key("real_unix_s"), json.Int64(clock.Real());
  json.Key("speed"), json.Double(clock.Speed());
  json.Key("gateway_offset_s"), json.Int64(local ? local->tm_gmtoff : 0);
  json.Key("gateway_text"), json.String(local ? util::TimeMark(*local).c_str() : "");
  json.Key("place"), json.String(place.c_str());
  json.EndObject();
}

}  // namespace console
