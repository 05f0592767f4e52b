#include "print/jsonparts.h"

namespace status {
namespace {

constexpr char kNoRecord[] = "the logs have no such record since the service's last start";

// Why something that the logs would tell is unknown: they cannot be read, or do not say it.
std::string WhyUntold(const LogFacts& logs) {
  if (!logs.read.text) return logs.read.text.reason;
  if (!logs.read.database) return logs.read.database.reason;
  return kNoRecord;
}

void AddEvidence(JsonWriter& json, const char* key, const std::optional<Evidence>& evidence,
                 const std::string& reason) {
  if (!evidence) return json.Null(key, reason);
  json.Object(key, [&] {
    json.Time("", evidence->time, "");
    json.Text("text", evidence->text);
    json.Text("where", evidence->where);
  });
}

// What either works or fails. `works` is unknown when the logs hold neither.
void AddAttempts(JsonWriter& json, const char* key, const Attempts& attempts,
                 const std::string& untold) {
  json.Object(key, [&] {
    std::optional<bool> works;
    if (attempts.succeeded || attempts.failed) works = !attempts.failed;
    json.Flag("works", works, untold);
    AddEvidence(json, "succeeded", attempts.succeeded, untold);
    const std::string reason = works ? "nothing failed after the last success" : untold;
    AddEvidence(json, "failed", attempts.failed, reason);
    AddEvidence(json, "first_failed", attempts.firstFailed, reason);
  });
}

void AddIntervals(JsonWriter& json, const LogFacts& logs, const std::string& untold) {
  if (!logs.intervals) return json.Null("intervals", untold);
  json.Object("intervals", [&] {
    json.Number("real_data_seconds", logs.intervals->realDataInv);
    json.Number("alarm_data_seconds", logs.intervals->alarmDataInv);
    json.Number("heartbeat_seconds", logs.intervals->heartBeatInv);
    json.Number("fail_seconds", logs.intervals->checkFailInv);
    json.Number("recall_seconds", logs.intervals->recallInv);
  });
}

}  // namespace

void AddCloud(JsonWriter& json, const LogFacts& logs) {
  const std::string untold = WhyUntold(logs);
  json.Object("cloud", [&] {
    json.Text("address", logs.address, untold);
    AddEvidence(json, "address_set", logs.addressSet, untold);
    AddAttempts(json, "login", logs.login, untold);
    AddEvidence(json, "login_answer", logs.loginReason, untold);
    AddAttempts(json, "heartbeat", logs.heartbeat, untold);
    AddAttempts(json, "uploads", logs.uploads, untold);
    AddEvidence(json, "upload_answer", logs.uploadReason, untold);
    json.Text("refused_file", logs.refusedFile, "no upload failed last");
    AddEvidence(json, "refused_file_first", logs.refusedFirst, "no upload failed last");
  });
}

void AddLogs(JsonWriter& json, const LogFacts& logs) {
  const std::string untold = WhyUntold(logs);
  json.Object("logs", [&] {
    json.Number("text_records", logs.read.text.value, logs.read.text.reason);
    json.Number("database_records", logs.read.database.value, logs.read.database.reason);
    json.Time("newest_record", logs.newestRecord, "the logs hold no record");
    json.Flag("switched_on", logs.isOn, untold);
    AddEvidence(json, "ended_early", logs.endedEarly, untold);
    AddIntervals(json, logs, untold);
    AddAttempts(json, "segment", logs.segment, untold);
    AddAttempts(json, "points", logs.points, untold);
    AddAttempts(json, "packing", logs.packing, untold);
    AddAttempts(json, "recording", logs.recording, untold);
  });
}

}  // namespace status
