#include <algorithm>
#include <array>
#include <cstdint>

#include "print/jsonparts.h"
#include "print/print.h"
#include "util/text.h"

namespace status {
namespace {

constexpr int kSchema = 1;
constexpr std::size_t kPointsListed = 20;

const char* StateName(LinkState state) {
  constexpr std::array kNames = {"good", "noted", "broken", "not_judged"};
  return kNames.at(static_cast<std::size_t>(state));
}

const char* StateName(LedgerState state) {
  constexpr std::array kNames = {"good",    "missing", "foreign",    "no_table",
                                 "damaged", "busy",    "unfinished", "unreadable"};
  return kNames.at(static_cast<std::size_t>(state));
}

void AddVerdict(JsonWriter& json, const Verdict& verdict) {
  json.Object("verdict", [&] {
    json.Text("level", LevelName(verdict.level));
    json.Number("exit_status", static_cast<int>(verdict.level));
    json.Text("text", verdict.text);
  });
}

void AddFinding(JsonWriter& json, const Finding& finding) {
  json.Object("", [&] {
    json.Text("code", finding.code);
    json.Text("level", LevelName(finding.level));
    json.Text("text", finding.text);
    json.Time("since", "since_unix_seconds", finding.since, finding.sinceReason);
    json.Text("evidence", finding.evidence);
    json.Text("remedy", finding.remedy);
    json.Text("anchor", finding.anchor);
  });
}

void AddRoad(JsonWriter& json, const Verdict& verdict) {
  json.Array("road", [&] {
    for (const Link& link : verdict.road) {
      json.Object("", [&] {
        json.Text("name", link.name);
        json.Text("state", StateName(link.state));
        json.Text("text", link.text);
      });
    }
  });
}

void AddFile(JsonWriter& json, const std::string& name, const std::optional<LedgerRow>& row,
             const std::string& reason) {
  json.Text(name + "_file", row ? row->name : "", reason);
  json.Time(name, row ? row->stamp : std::nullopt, reason);
}

void AddResults(JsonWriter& json, const Facts& facts) {
  const Results results = ResultsOf(facts);
  json.Object("results", [&] {
    AddFile(json, "newest_accepted", facts.newestAcceptedByNow, results.reason);
    json.Number("newest_accepted_age_seconds", results.newestAcceptedAge, results.reason);
    json.Number("oldest_pending_age_seconds", results.oldestPendingAge, results.reason);
    json.Number("pending_files", results.pending, results.reason);
    json.Number("catch_up_seconds", results.catchUpSeconds,
                results.pending ? "files are not sent faster than they are made" : results.reason);
  });
}

void AddCard(JsonWriter& json, const Card& card) {
  json.Object("card", [&] {
    json.Flag("device_present", card.device);
    json.Flag("mounted", card.mounted);
    json.Flag("read_only", card.readOnly);
    const auto number = [&](const char* key, std::uint64_t Space::*member, bool isCounted) {
      std::optional<std::int64_t> value;
      if (isCounted) value = static_cast<std::int64_t>((*card.space).*member);
      json.Number(key, value, card.space ? "the file system counts no inodes" : card.space.reason);
    };
    const bool isKnown = card.space.value.has_value();
    const bool hasInodes = isKnown && card.space->totalInodes != 0;
    number("free_bytes", &Space::freeBytes, isKnown);
    number("total_bytes", &Space::totalBytes, isKnown);
    number("free_inodes", &Space::freeInodes, hasInodes);
    number("total_inodes", &Space::totalInodes, hasInodes);
  });
}

void AddFaults(JsonWriter& json, const Configuration& configuration) {
  json.Array("faults", [&] {
    for (const ConfigFault& fault : configuration.faults) {
      json.Object("", [&] {
        json.Text("code", fault.code);
        json.Text("cost", fault.cost == Cost::kStart ? "start" : "part");
        json.Text("file", fault.file);
        json.Number("line", fault.line == 0 ? std::nullopt : std::optional(fault.line),
                    "the fault has no line");
        json.Text("text", fault.text);
      });
    }
  });
}

void AddCloudSettings(JsonWriter& json, const Configuration& configuration, const char* reason) {
  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = configuration.cloud;
  const auto number = [&](const char* key, std::int64_t value) {
    json.Number(key, configuration.starts ? std::optional(value) : std::nullopt, reason);
  };
  const auto text = [&](const char* key, const char* value) {
    configuration.starts ? json.Text(key, value) : json.Null(key, reason);
  };
  text("cloud_address", cloud.cloudip);
  number("cloud_port", cloud.port);
  text("cloud_path", cloud.Dir);
  number("real_data_interval_seconds", cloud.RealDataInv);
  number("alarm_data_interval_seconds", cloud.AlarmDataInv);
  number("fail_interval_seconds", cloud.CheckFailInv);
  number("recall_interval_seconds", cloud.RecallInv);
}

template <typename Map>
std::int64_t CountOf(const Map* map) {
  return map == nullptr ? 0 : static_cast<std::int64_t>(map->size());
}

// A copied card has no configuration. That is no fault.
void AddConfiguration(JsonWriter& json, const Facts& facts) {
  const bool isKnown = !facts.LacksConfiguration();
  const Configuration& configuration = isKnown ? facts.configuration : Configuration();
  const char* const none = kNoConfigurationCopied;
  const auto known = [=](auto value) { return isKnown ? std::optional(value) : std::nullopt; };
  json.Object("configuration", [&] {
    json.Flag("starts", known(configuration.starts), none);
    json.Flag("switched_on", known(configuration.isOn), none);
    json.Text("serial_number", configuration.serial, isKnown ? "the configuration has none" : none);
    AddCloudSettings(json, configuration,
                     isKnown ? "the service would not start with this configuration" : none);
    json.Number("points", known(CountOf(configuration.points)), none);
    json.Number("devices", known(CountOf(configuration.devices)), none);
    const std::time_t newest = configuration.newestChange;
    json.Time("newest_change", newest == 0 ? std::nullopt : std::optional(newest),
              "none of its files is there");
    AddFaults(json, configuration);
    json.Array("files", [&] {
      for (const std::string& file : configuration.files) json.Element(file);
    });
  });
}

void AddProcess(JsonWriter& json, const Facts& facts) {
  const LogFacts& logs = facts.logs;
  json.Object("process", [&] {
    const bool isKnown = facts.process.value.has_value();
    const bool runs = isKnown && *facts.process != 0;
    json.Flag("running", isKnown ? std::optional(runs) : std::nullopt, facts.process.reason);
    json.Number("pid", runs ? std::optional<std::int64_t>(*facts.process) : std::nullopt,
                isKnown ? "the service does not run" : facts.process.reason);
    const bool isRead = logs.read.database.value.has_value();
    json.Time("started", logs.started ? std::optional(logs.started->time) : std::nullopt,
              isRead ? "the log database has no start" : logs.read.database.reason);
    json.Number("starts_in_last_hour", isRead ? std::optional(logs.startsInLastHour) : std::nullopt,
                logs.read.database.reason);
  });
}

void AddSegment(JsonWriter& json, const Facts& facts) {
  json.Object("segment", [&] {
    json.Flag("present", facts.segment.present);
    const auto& values = facts.segment.values;
    json.Number("values", values ? std::optional(CountOf(&*values)) : std::nullopt, values.reason);
    const auto& unpublished = facts.unpublished;
    json.Number("unpublished_points",
                unpublished ? std::optional(CountOf(&*unpublished)) : std::nullopt,
                unpublished.reason);
    if (!unpublished) return json.Null("first_unpublished_points", unpublished.reason);
    json.Array("first_unpublished_points", [&] {
      const std::size_t listed = std::min(unpublished->size(), kPointsListed);
      for (std::size_t i = 0; i < listed; ++i)
        json.Element(util::Format("%08X", (*unpublished)[i]));
    });
  });
}

void AddCounts(JsonWriter& json, const char* key, const FileCounts& counts,
               const std::string& unreadable) {
  const bool isRead = unreadable.empty();
  const auto number = [&](const char* name, std::size_t value) {
    json.Number(name, isRead ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt,
                unreadable);
  };
  const std::string none = isRead ? "there is no such file" : unreadable;
  json.Object(key, [&] {
    number("pending_files", counts.pending);
    number("accepted_files", counts.accepted);
    AddFile(json, "newest", counts.newest, none);
    AddFile(json, "newest_accepted", counts.newestAccepted, none);
    AddFile(json, "newest_pending", counts.newestPending, none);
    AddFile(json, "oldest_pending", counts.oldestPending, none);
  });
}

void AddLedger(JsonWriter& json, const Facts& facts) {
  const Ledger& ledger = facts.ledger;
  const bool isGood = ledger.state == LedgerState::kGood;
  const std::string unreadable = isGood ? "" : ResultsOf(facts).reason;
  json.Object("ledger", [&] {
    json.Text("state", StateName(ledger.state));
    json.Text("detail", ledger.detail);
    json.Text("copied", ledger.copied);
    AddCounts(json, "all", ledger.all, unreadable);
    AddCounts(json, "real_data", ledger.realData, unreadable);
    AddCounts(json, "alarm_data", ledger.alarmData, unreadable);
    json.Number("recall_files",
                isGood ? std::optional(static_cast<std::int64_t>(ledger.recalls)) : std::nullopt,
                unreadable);
  });
}

}  // namespace

std::string JsonText(const Facts& facts, const Verdict& verdict) {
  JsonWriter json;
  json.Number("schema", kSchema);
  json.Text("version", BRENNIK_VERSION);
  json.Time("now", facts.now, "");
  json.Text("root", facts.place.IsLive() ? "/" : facts.place.Root());
  AddVerdict(json, verdict);
  json.Array("findings", [&] {
    for (const Finding& finding : verdict.findings) AddFinding(json, finding);
  });
  AddRoad(json, verdict);
  AddResults(json, facts);
  AddCard(json, facts.card);
  AddConfiguration(json, facts);
  AddProcess(json, facts);
  AddSegment(json, facts);
  AddLedger(json, facts);
  AddCloud(json, facts.logs);
  AddLogs(json, facts.logs);
  return json.Finish();
}

}  // namespace status
