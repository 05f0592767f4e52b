// What the bench shows on terminal and page.
#include <ctime>
#include <fstream>
#include <iterator>
#include <mutex>

#include "console/bench/clockroutes.h"
#include "console/main/bench.h"
#include "util/paths.h"
#include "util/text.h"

namespace console {
namespace {

int CountIn(const char* path, const std::string& tag) {
  std::ifstream file(path);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  int count = 0;
  for (auto at = text.find(tag); at != std::string::npos; at = text.find(tag, at + 1)) ++count;
  return count;
}

std::string LineJson(const std::vector<std::pair<std::string, std::string>>& lines,
                     std::time_t real) {
  return JsonReply([&](JsonWriter& json) {
           json.StartObject();
           json.Key("lines");
           json.StartArray();
           for (const auto& [label, text] : lines) {
             json.StartObject();
             WriteText(json, "label", label);
             WriteText(json, "text", text);
             json.Key("real_unix_s"), json.Int64(real);
             json.EndObject();
           }
           json.EndArray();
           json.EndObject();
         })
      .body;
}

}  // namespace

void Bench::LookAtLog() {
  m_log.Look([this](const std::string& record) {
    m_terminal.Line("service", record);
    // The service logs its intervals when all of its configuration is read.
    if (record.find("realdata timeinv") != std::string::npos) ShowCatalogue();
  });
}

void Bench::ShowCatalogue() {
  m_terminal.Line("service", util::Format("catalogue loaded: %d channels, %d devices",
                                          CountIn(paths::kChannelTemplate, "<Channel "),
                                          CountIn(paths::kChannelTemplate, "<Dev ")));
}

void Bench::LookAtLedger() {
  m_ledger.Look();
  const std::string text = m_ledger.Text();
  if (text == m_ledgerShown) return;
  m_ledgerShown = text;
  m_terminal.Line("ledger", text);
}

void Bench::PublishLines() {
  std::vector<Line> lines;
  {
    const std::lock_guard lock(m_mutex);
    lines.swap(m_lines);
  }
  if (!lines.empty()) m_events.Publish("lines", LineJson(lines, m_clock.Real()));
}

void Bench::ShowProgress(const std::string& state) {
  rapidjson::Document parsed;
  parsed.Parse(state.c_str());
  const rapidjson::Document& json = parsed;
  const auto value = [&](const char* path) {
    return Condition(std::string(path) + " == 0").Check(json).actual;
  };
  const auto faults = json.FindMember("faults");
  const std::size_t active =
      faults == json.MemberEnd() ? 0 : faults->value["active"].GetArray().Size();
  m_terminal.Progress(json["clocks"]["gateway_text"].GetString() +
                      util::Format("  x%g", m_clock.Speed()) + "  accepted " +
                      value("account.total.accepted") + "  pending " +
                      value("account.total.pending") + "  lost " + value("account.total.lost") +
                      util::Format("  faults %zu", active));
}

std::string Bench::State() {
  return JsonReply([this](JsonWriter& json) {
           json.StartObject();
           json.Key("schema"), json.Int(1);
           WriteClocks(m_clock, m_options.onGateway ? "gateway" : "sandbox", json);
           m_parts.WriteState(json);
           m_processes.WriteState(json);
           m_ledger.WriteState(json);
           m_recorder.WriteState(json);
           json.EndObject();
         })
      .body;
}

}  // namespace console
