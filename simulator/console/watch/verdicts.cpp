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
constexpr std::string_view kNotMounted = "BRN-CARD-NOT-MOUNTED";
constexpr char kFolder[] =
    "this is no fault here: the card is a folder of this machine (BRENNIK_SANDBOX_KEEP), so "
    "nothing "
    "is mounted there, and brennik-status looks no further";

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

// What comes of a cause names no other one.
bool Fit(Topic status, Topic witness) {
  const auto isOfTheLink = [](Topic topic) {
    return topic == Topic::kLogin || topic == Topic::kSending;
  };
  if (status == witness) return true;
  if (status == Topic::kLink) return isOfTheLink(witness) || witness == Topic::kResults;
  if (witness == Topic::kResults) return isOfTheLink(status);
  return status == Topic::kResults && witness != Topic::kFiles && witness != Topic::kOther;
}

bool SayTheSame(const StatusSight& status, const Witness& witness) {
  const bool isStatusOk = status.exit == kOk;
  const bool isWitnessOk = witness.level == status::Level::kOk;
  if (isStatusOk || isWitnessOk) return isStatusOk == isWitnessOk;
  const Topic topic = TopicOf(status.code);
  return std::any_of(witness.reasons.begin(), witness.reasons.end(),
                     [topic](const Reason& reason) { return Fit(topic, reason.topic); });
}

std::string Differ(const StatusSight& status, const Witness& witness) {
  if (status.exit == kOk) {
    return "brennik-status says that all is normal, but the witness does not: " + witness.text;
  }
  if (witness.level == status::Level::kOk) {
    return "the witness sees nothing wrong, but brennik-status says: " + status.text;
  }
  return "brennik-status says: " + status.text +
         "; the witness does not say so, but: " + witness.text;
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

Topic TopicOf(std::string_view code) {
  struct Row {
    std::string_view start;
    Topic topic;
  };
  static constexpr std::array kRows = {
      Row{"BRN-PROCESS-", Topic::kService},    Row{"BRN-SWITCHED-OFF", Topic::kSwitch},
      Row{"BRN-CONFIG-OFF", Topic::kSwitch},   Row{"BRN-CLOCK-", Topic::kClock},
      Row{"BRN-CARD-", Topic::kCard},          Row{"BRN-SEGMENT-", Topic::kValues},
      Row{"BRN-PACK-FAILED", Topic::kPacking}, Row{"BRN-PACK-OLD", Topic::kResults},
      Row{"BRN-LEDGER-", Topic::kLedger},      Row{"BRN-LOGIN-", Topic::kLogin},
      Row{"BRN-UPLOADS-", Topic::kSending},    Row{"BRN-FILE-REFUSED", Topic::kSending},
      Row{"BRN-CLOUD-", Topic::kLink},         Row{"BRN-ACCEPTED-", Topic::kResults},
      Row{"BRN-BACKLOG", Topic::kResults},
  };
  const auto* const found = std::find_if(
      kRows.begin(), kRows.end(), [code](const Row& row) { return code.starts_with(row.start); });
  return found == kRows.end() ? Topic::kOther : found->topic;
}

AgreementSight Agreement::Compare(const StatusSight& status, const Witness& witness,
                                  std::time_t now, long patience, bool isFolderCard) {
  AgreementSight sight{.disagreement = {}, .note = {}, .patience = patience};
  if (isFolderCard && status.code == kNotMounted) sight.note = kFolder;
  if (status.exit < 0 || !sight.note.empty() || SayTheSame(status, witness)) {
    m_since.reset();
    return sight;
  }
  if (!m_since || *m_since > now) m_since = now;
  sight.since = *m_since;
  const long lasts = static_cast<long>(now - *m_since);
  if (lasts > patience) {
    sight.disagreement = Differ(status, witness) + " (for " + status::Duration(lasts) + ")";
  }
  return sight;
}

}  // namespace console
