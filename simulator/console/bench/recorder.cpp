#include "console/bench/recorder.h"

#include <mutex>
#include <utility>

#include "console/bench/placeholders.h"
#include "console/web/httpstatus.h"
#include "console/web/utf8.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::size_t kMostLines = 10000;

// On one line.
std::string Compact(const std::string& json) {
  rapidjson::Document body;
  if (body.Parse(json.c_str()).HasParseError()) return "{}";
  rapidjson::StringBuffer text;
  JsonWriter writer(text);
  body.Accept(writer);
  return text.GetString();
}

// As one word of a shell.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) c == '\'' ? quoted += "'\\''" : quoted += c;
  return quoted + "'";
}

}  // namespace

Recorder::Recorder(const Clock& clock, std::function<std::string()> address, Lasting lasting,
                   std::string start)
    : m_clock(clock),
      m_address(std::move(address)),
      m_lasting(std::move(lasting)),
      m_start(std::move(start)),
      m_speed(clock.Speed()) {}

void Recorder::Note(const std::string& path, const std::string& json) {
  if (path.starts_with("/api/scenario/")) return;
  const std::string body = Compact(m_lasting ? m_lasting(path, json) : json);
  const std::string curl =
      "curl -H 'Content-Type: application/json' -d " + Quoted(body) + " " + m_address() + path;
  const std::lock_guard lock(m_mutex);
  m_lastCurl = curl;
  if (!m_isRecording || m_lines.size() + 1 >= kMostLines) return;
  const double now = m_clock.Elapsed();
  if (now - m_latest >= 1) m_lines.push_back(util::Format("pause %.0f", now - m_latest));
  m_lines.push_back("post " + path + " " + WithoutTimes(body, m_clock.Now()));
  m_latest = now;
}

void Recorder::AddRoutes(Router& router) {
  router.Post("/api/scenario/record", [this](const Call& call) { return Record(call); });
  router.Get("/api/scenario/file", [this](const Call&) {
    return Reply{.body = File(), .type = "text/plain", .downloadName = "recorded.scenario"};
  });
}

void Recorder::WriteState(JsonWriter& json) const {
  const std::lock_guard lock(m_mutex);
  json.Key("scenario");
  json.StartObject();
  json.Key("recording"), json.Bool(m_isRecording);
  json.Key("lines"), json.Uint64(m_lines.size());
  json.Key("last_curl");
  m_lastCurl.empty() ? json.Null() : json.String(ValidUtf8(m_lastCurl).c_str());
  json.EndObject();
}

// A new recording begins with an empty file.
Reply Recorder::Record(const Call& call) {
  const auto on = call.body->FindMember("on");
  if (on == call.body->MemberEnd() || !on->value.IsBool()) {
    return ErrorReply(kBadRequest, "\"on\" must be true or false.");
  }
  {
    const std::lock_guard lock(m_mutex);
    if (on->value.GetBool() && !m_isRecording) {
      m_lines.clear();
      m_speed = m_clock.Speed();
      m_latest = m_clock.Elapsed();
    }
    m_isRecording = on->value.GetBool();
  }
  return JsonReply([this](JsonWriter& json) {
    json.StartObject();
    json.Key("schema"), json.Int(1);
    WriteState(json);
    json.EndObject();
  });
}

std::string Recorder::File() const {
  const std::lock_guard lock(m_mutex);
  std::string text = "# Recorded on the bench console.\n" + m_start;
  text += util::Format("speed %g\n", m_speed);
  for (const std::string& line : m_lines) text += line + "\n";
  return text;
}

}  // namespace console
