#include "console/watch/metrics.h"

#include <cinttypes>

#include "util/text.h"

namespace console {
namespace {

class MetricText {
 public:
  // Begins a metric.
  MetricText& Metric(const char* name, const char* help) {
    m_name = std::string("brennik_bench_") + name;
    m_text += "# HELP " + m_name + " " + help + "\n# TYPE " + m_name + " gauge\n";
    return *this;
  }
  // Adds a value of it.
  MetricText& Value(std::int64_t value, const std::string& labels = {}) {
    m_text += m_name + (labels.empty() ? "" : "{" + labels + "}");
    m_text += util::Format(" %" PRId64 "\n", value);
    return *this;
  }
  std::string Take() { return std::move(m_text); }

 private:
  std::string m_name;
  std::string m_text;
};

constexpr Kind kAllKinds[] = {Kind::kRealData, Kind::kAlarmData, Kind::kCallData};

std::string Label(const char* name, const std::string& value) {
  return name + ("=\"" + value + "\"");
}

void AddFiles(MetricText& text, const Account& account) {
  struct State {
    const char* name;
    long Counts::*count;
  };
  static constexpr State kStates[] = {{"accepted", &Counts::accepted},
                                      {"pending", &Counts::pending},
                                      {"aged", &Counts::aged},
                                      {"judged_sent", &Counts::judgedSent},
                                      {"lost", &Counts::lost}};
  text.Metric("files", "Files by what has become of them. Each is in one state.");
  for (const Kind kind : kAllKinds) {
    for (const auto& [name, count] : kStates) {
      text.Value(account.Of(kind).*count, Label("kind", NameOf(kind)) + "," + Label("state", name));
    }
  }
  text.Metric("files_delivered_twice", "Files that the cloud has accepted more than once.");
  for (const Kind kind : kAllKinds) {
    text.Value(account.Of(kind).deliveredTwice, Label("kind", NameOf(kind)));
  }
  text.Metric("newest_accepted_timestamp_seconds", "When the cloud accepted a file last.");
  for (const Kind kind : kAllKinds) {
    const std::time_t last = account.LastAccepted(kind);
    if (last != 0) text.Value(last, Label("kind", NameOf(kind)));
  }
  const auto oldest = account.OldestPending();
  const SeenFile* const file = oldest ? account.Find(*oldest) : nullptr;
  if (file == nullptr) return;
  text.Metric("oldest_pending_timestamp_seconds", "Stamp of the oldest file that waits.")
      .Value(file->stamp);
}

void AddVerdicts(MetricText& text, const MetricFacts& facts) {
  text.Metric("witness_level",
              "What the outside witness says: 0 all normal, 1 warning, 2 critical.")
      .Value(static_cast<int>(facts.witness.level));
  if (facts.status.exit >= 0) {
    text.Metric("status_level", "What brennik-status says: 0 OK, 1 warning, 2 critical, 3 unknown.")
        .Value(facts.status.exit);
  }
  text.Metric("verdicts_agree", "0 while brennik-status and the witness disagree.")
      .Value(facts.agree ? 1 : 0);
}

void AddScene(MetricText& text, const Scene& scene) {
  text.Metric("gateway_time_seconds", "The gateway's clock.").Value(scene.now);
  text.Metric("process_up", "1 while the program runs.");
  for (const ProcessSight* process : {&scene.service, &scene.acquisition, &scene.cloud}) {
    if (!process->name.empty()) text.Value(process->running ? 1 : 0, Label("name", process->name));
  }
  text.Metric("points_published", "Points with a value in the segment.")
      .Value(static_cast<std::int64_t>(scene.segment.published));
  text.Metric("points_unpublished", "Configured points without a value.")
      .Value(static_cast<std::int64_t>(scene.segment.unpublished));
  text.Metric("ledger_readable", "1 if the ledger could be read.")
      .Value(scene.ledgerState == status::LedgerState::kGood ? 1 : 0);
  if (!scene.card.space) return;
  text.Metric("card_free_bytes", "Free space of the card.")
      .Value(static_cast<std::int64_t>(scene.card.space->freeBytes));
  text.Metric("card_size_bytes", "Size of the card.")
      .Value(static_cast<std::int64_t>(scene.card.space->totalBytes));
}

}  // namespace

std::string BenchMetrics(const MetricFacts& facts) {
  MetricText text;
  AddFiles(text, facts.account);
  AddVerdicts(text, facts);
  AddScene(text, facts.scene);
  return text.Take();
}

}  // namespace console
