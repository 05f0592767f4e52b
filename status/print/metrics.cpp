#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <utility>

#include "judge/codes.h"
#include "print/print.h"
#include "util/text.h"

namespace status {
namespace {

// Collects metrics. All are gauges: a ledger can lose rows again, so nothing only ever rises.
class Metrics {
 public:
  // One series: its labels, as `kind="realdata"`, and its value. One without a value is left out.
  struct Series {
    std::string labels;
    std::optional<std::int64_t> value;
  };

  void Add(const std::string& name, const char* help, const std::vector<Series>& all) {
    std::string lines;
    for (const auto& [labels, value] : all) {
      if (!value) continue;
      lines += "brennik_" + name + (labels.empty() ? "" : "{" + labels + "}") +
               util::Format(" %lld\n", static_cast<long long>(*value));
    }
    if (lines.empty()) return;
    m_text += "# HELP brennik_" + name + " " + help + "\n";
    m_text += "# TYPE brennik_" + name + " gauge\n" + lines;
  }
  void Add(const std::string& name, const char* help, std::optional<std::int64_t> value) {
    Add(name, help, std::vector<Series>{{"", value}});
  }

  const std::string& Text() const { return m_text; }

 private:
  std::string m_text;
};

std::optional<std::int64_t> Number(const Fact<bool>& flag) {
  return flag ? std::optional<std::int64_t>(*flag) : std::nullopt;
}

void AddVerdict(Metrics& metrics, const Facts& facts, const Verdict& verdict) {
  metrics.Add("status_build_info", "The version of brennik-status; always 1.",
              {{"version=\"" BRENNIK_VERSION "\"", 1}});
  metrics.Add("status_collected_timestamp_seconds", "When these values were collected.", facts.now);
  metrics.Add("status_level", "The verdict: 0 OK, 1 warning, 2 critical, 3 unknown.",
              static_cast<int>(verdict.level));
  std::vector<Metrics::Series> findings;
  for (const Code& code : AllCodes()) {
    const bool isFound = std::any_of(verdict.findings.begin(), verdict.findings.end(),
                                     [&](const Finding& each) { return each.code == code.code; });
    findings.push_back({util::Format("code=\"%s\"", code.code), isFound});
  }
  metrics.Add("finding", "Whether this finding was made; every known code has a series.", findings);
}

void AddCard(Metrics& metrics, const Card& card) {
  metrics.Add("card_present", "Whether the card's device exists.", Number(card.device));
  metrics.Add("card_mounted", "Whether anything is mounted at the card's path.",
              Number(card.mounted));
  metrics.Add("card_read_only", "Whether the card refuses writes.", Number(card.readOnly));
  if (!card.space) return;
  const auto number = [](std::uint64_t value) { return static_cast<std::int64_t>(value); };
  metrics.Add("card_free_bytes", "Free space on the card.", number(card.space->freeBytes));
  metrics.Add("card_size_bytes", "Size of the card's file system.", number(card.space->totalBytes));
  if (card.space->totalInodes == 0) return;
  metrics.Add("card_free_inodes", "Free inodes on the card.", number(card.space->freeInodes));
  metrics.Add("card_inodes", "Inodes of the card's file system.", number(card.space->totalInodes));
}

void AddService(Metrics& metrics, const Facts& facts) {
  const LogFacts& logs = facts.logs;
  const Configuration& configuration = facts.configuration;
  std::optional<std::int64_t> up;
  if (facts.process) up = *facts.process != 0;
  metrics.Add("process_up", "Whether the service runs.", up);
  std::optional<std::int64_t> start;
  if (logs.started) start = logs.started->time;
  metrics.Add("process_start_timestamp_seconds", "The service's last start, by its log.", start);
  std::optional<std::int64_t> usable;
  if (!facts.LacksConfiguration()) usable = configuration.starts;
  metrics.Add("configuration_usable", "Whether the service starts with its configuration.", usable);
  metrics.Add(
      "switched_on", "Whether the configuration switches the service on.",
      configuration.starts ? std::optional<std::int64_t>(configuration.isOn) : std::nullopt);
  std::optional<std::int64_t> interval;
  if (logs.intervals) interval = logs.intervals->realDataInv;
  metrics.Add("real_data_interval_seconds", "The interval of live values in force; below 1: none.",
              interval);
  metrics.Add("log_newest_record_timestamp_seconds", "The newest record of the service's logs.",
              logs.newestRecord);
}

void AddPoints(Metrics& metrics, const Facts& facts) {
  metrics.Add("segment_present", "Whether the acquisition side has a live-value segment.",
              Number(facts.segment.present));
  std::optional<std::int64_t> configured;
  if (facts.configuration.points != nullptr)
    configured = static_cast<std::int64_t>(facts.configuration.points->size());
  metrics.Add("points_configured", "Points of the configuration.", configured);
  std::optional<std::int64_t> unpublished;
  if (facts.unpublished) unpublished = static_cast<std::int64_t>(facts.unpublished->size());
  metrics.Add("points_unpublished", "Points that are configured and not published.", unpublished);
}

using Row = std::optional<LedgerRow> FileCounts::*;

// One series for each kind of files.
std::vector<Metrics::Series> Stamps(const Ledger& ledger, const char* labels, Row row) {
  const auto stamp = [row](const FileCounts& counts) -> std::optional<std::int64_t> {
    return counts.*row ? (counts.*row)->stamp : std::nullopt;
  };
  return {{util::Format("kind=\"realdata\"%s", labels), stamp(ledger.realData)},
          {util::Format("kind=\"alarmdata\"%s", labels), stamp(ledger.alarmData)}};
}

void AddLedger(Metrics& metrics, const Facts& facts) {
  const Ledger& ledger = facts.ledger;
  const bool isGood = ledger.state == LedgerState::kGood;
  metrics.Add("ledger_readable", "Whether the ledger could be read whole.", isGood);
  if (!isGood) return;
  const auto number = [](std::size_t value) { return static_cast<std::int64_t>(value); };
  metrics.Add("files", "Files in the ledger, at most of the last 31 days.",
              {{"kind=\"realdata\",state=\"pending\"", number(ledger.realData.pending)},
               {"kind=\"realdata\",state=\"accepted\"", number(ledger.realData.accepted)},
               {"kind=\"alarmdata\",state=\"pending\"", number(ledger.alarmData.pending)},
               {"kind=\"alarmdata\",state=\"accepted\"", number(ledger.alarmData.accepted)}});
  std::optional<std::int64_t> accepted;
  if (facts.newestAcceptedByNow) accepted = facts.newestAcceptedByNow->stamp;
  metrics.Add(
      "newest_accepted_file_timestamp_seconds",
      "The stamp of the newest accepted file of any kind; stamps of the future do not count.",
      accepted);
  auto newest = Stamps(ledger, ",state=\"pending\"", &FileCounts::newestPending);
  for (auto& series : Stamps(ledger, ",state=\"accepted\"", &FileCounts::newestAccepted))
    newest.push_back(std::move(series));
  metrics.Add("newest_file_timestamp_seconds", "The stamp of the newest file by kind and state.",
              newest);
  metrics.Add("oldest_pending_file_timestamp_seconds",
              "The stamp of the oldest file that waits for the cloud.",
              Stamps(ledger, "", &FileCounts::oldestPending));
  metrics.Add("catch_up_seconds", "Forecast until nothing is pending; left out: never or unknown.",
              ResultsOf(facts).catchUpSeconds);
}

}  // namespace

std::string MetricsText(const Facts& facts, const Verdict& verdict) {
  Metrics metrics;
  AddVerdict(metrics, facts, verdict);
  AddCard(metrics, facts.card);
  AddService(metrics, facts);
  AddPoints(metrics, facts);
  AddLedger(metrics, facts);
  return metrics.Text();
}

}  // namespace status
