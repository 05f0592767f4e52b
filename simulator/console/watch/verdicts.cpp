#include "console/watch/verdicts.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "collect/times.h"
#include "util/json.h"

namespace console {
namespace {

constexpr auto kBetweenRuns = std::chrono::seconds(3);
constexpr int kOk = 0;

using Value = rapidjson::Value;

const Value* Member(const Value* object, const char* name) {
  if (object == nullptr || !object->IsObject()) return nullptr;
  const auto member = object->FindMember(name);
  return member == object->MemberEnd() ? nullptr : &member->value;
}

std::string TextOf(const Value* value) {
  return value != nullptr && value->IsString() ? value->GetString() : std::string();
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

const char* WordOf(status::Level level) {
  constexpr std::array kWords = {"ok", "warning", "critical", "unknown"};
  return kWords[static_cast<std::size_t>(level)];
}

StatusSight StatusOf(const StatusRun& run) {
  StatusSight sight;
  sight.at = std::chrono::steady_clock::now();
  sight.level = WordOf(status::Level::kUnknown);
  rapidjson::Document document;
  document.Parse(run.json.data(), run.json.size());
  const Value* const verdict = document.HasParseError() ? nullptr : Member(&document, "verdict");
  const Value* const exit = Member(verdict, "exit_status");
  if (exit == nullptr || !exit->IsInt()) {
    sight.text = run.exit < 0 ? "brennik-status could not be run"
                              : "brennik-status ended with status " + std::to_string(run.exit) +
                                    " and printed no verdict";
    return sight;
  }
  sight.exit = exit->GetInt();
  sight.level = Lower(TextOf(Member(verdict, "level")));
  sight.text = TextOf(Member(verdict, "text"));
  const Value* const findings = Member(&document, "findings");
  if (findings != nullptr && findings->IsArray() && !findings->Empty()) {
    sight.code = TextOf(Member(&(*findings)[0], "code"));
  }
  return sight;
}

StatusWatch::StatusWatch(std::function<StatusRun()> runStatus) : m_runStatus(std::move(runStatus)) {
  m_latest.level = WordOf(status::Level::kUnknown);
  m_latest.text = "brennik-status has not run yet";
  if (m_runStatus) m_thread = std::jthread([this](const std::stop_token& stop) { Work(stop); });
}

void StatusWatch::Work(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    StatusSight sight = StatusOf(m_runStatus());
    std::unique_lock lock(m_mutex);
    m_latest = std::move(sight);
    m_stopped.wait_for(lock, stop, kBetweenRuns, [&stop] { return stop.stop_requested(); });
  }
}

StatusSight StatusWatch::Latest() const {
  const std::lock_guard lock(m_mutex);
  return m_latest;
}

std::string Agreement::Compare(const StatusSight& status, const Witness& witness, std::time_t now,
                               long patience) {
  const bool isStatusOk = status.exit == kOk;
  const bool isWitnessOk = witness.level == status::Level::kOk;
  if (status.exit < 0 || isStatusOk == isWitnessOk) {
    m_since.reset();
    return {};
  }
  if (!m_since || *m_since > now) m_since = now;
  const long lasts = static_cast<long>(now - *m_since);
  if (lasts <= patience) return {};
  const std::string since = " (for " + status::Duration(lasts) + ")";
  return isStatusOk
             ? "brennik-status says that all is normal, but the witness does not: " + witness.text +
                   since
             : "the witness sees nothing wrong, but brennik-status says: " + status.text + since;
}

}  // namespace console
