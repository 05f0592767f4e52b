#include <algorithm>
#include <array>
#include <string_view>

#include "collect/times.h"
#include "judge/links.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

using util::Format;

constexpr long kClockToleranceSeconds = 60;
constexpr long kOldPendingSeconds = 86400;
constexpr long kRoundsUntilSure = 2;  // a single failed round may be over with the next one

bool Has(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// Libcurl's words in the service's record, and what they mean.
struct Failure {
  const char* words;
  const char* code;
  const char* text;
};
constexpr std::array kNoAnswer = {
    Failure{"connect to server", "BRN-CLOUD-REFUSED", "nothing listens at the cloud's address"},
    Failure{"resolve", "BRN-CLOUD-NAME", "the cloud's name has no address"},
    Failure{"Timeout", "BRN-CLOUD-SILENT", "the cloud's server does not answer"},
};

// What a record says that follows an exchange without a usable answer; null for any other record.
const Failure* FailureOf(std::string_view text) {
  static constexpr Failure kOther{"", "BRN-CLOUD-OTHER",
                                  "a server answers, but not as this cloud does"};
  if (!Has(text, "httpcode =")) return nullptr;
  if (!Has(text, "httpcode =0")) return &kOther;
  const auto* const found = std::find_if(kNoAnswer.begin(), kNoAnswer.end(),
                                         [&](const Failure& row) { return Has(text, row.words); });
  return found == kNoAnswer.end() ? &kOther : found;
}

long FailInterval(const Facts& facts) {
  return std::max(IntervalsOf(facts).fail, 1L);
}

long RealDataInterval(const Facts& facts) {
  return IntervalsOf(facts).realData;
}

std::string NameOf(const LedgerRow& row) {
  return std::string(util::BaseName(row.name));
}

// What the state of a ledger means that cannot be read to its end.
struct LedgerFault {
  LedgerState state;
  const char* code;
  const char* text;
};
constexpr std::array kLedgerFaults = {
    LedgerFault{LedgerState::kMissing, "BRN-LEDGER-MISSING", "there is no ledger"},
    LedgerFault{LedgerState::kForeign, "BRN-LEDGER-DAMAGED",
                "the ledger is no database, or it is cut short"},
    LedgerFault{LedgerState::kNoTable, "BRN-LEDGER-DAMAGED", "the ledger lacks its table"},
    LedgerFault{LedgerState::kDamaged, "BRN-LEDGER-DAMAGED", "the ledger's rows are damaged"},
    LedgerFault{LedgerState::kBusy, "BRN-LEDGER-BUSY", "another program holds the ledger's lock"},
    LedgerFault{LedgerState::kUnfinished, "BRN-LEDGER-UNFINISHED",
                "an unfinished write waits for the service"},
    LedgerFault{LedgerState::kUnreadable, "BRN-LEDGER-UNREADABLE", "the ledger cannot be read"},
};

void JudgeRefused(Judging& judging, const std::string& link) {
  const LogFacts& logs = judging.facts.logs;
  const std::string answer = logs.uploadReason ? ": " + logs.uploadReason->text : "";
  const std::string evidence =
      logs.uploadReason ? logs.uploadReason->where : WhereOf(logs.uploads.failed);
  if (logs.othersAccepted) {
    std::string remedy = Format(
        "sqlite3 -cmd '.timeout 10000' 'file:%s?mode=rw' \"update tJsonFileNames set Result=1 "
        "where "
        "FileName like '%%%s'\"",
        paths::kLedger, logs.refusedFile.c_str());
    return judging.road.Noted(link, "BRN-FILE-REFUSED",
                              {.text = "the cloud refuses " + logs.refusedFile + " again and again",
                               .since = TimeOf(logs.refusedFirst),
                               .evidence = evidence,
                               .remedy = std::move(remedy)});
  }
  // Once a newer file has come and was refused too, nothing gets through.
  const long sure = std::max(RealDataInterval(judging.facts), 0L) + 3 * FailInterval(judging.facts);
  const bool isSure = judging.facts.now - logs.uploads.firstFailed->time >= sure;
  judging.road.Broken(link, "BRN-UPLOADS-REFUSED",
                      {.text = "the cloud does not accept " + logs.refusedFile + answer,
                       .since = TimeOf(logs.uploads.firstFailed),
                       .evidence = evidence,
                       .level = isSure ? Level::kCritical : Level::kWarning});
}

// The age of the newest accepted file against its thresholds. False when there is nothing to say.
bool JudgeAge(Judging& judging, const std::string& link) {
  if (judging.IsWithinGrace()) return false;
  const auto age = judging.results.newestAcceptedAge;
  if (!age) {
    const Ledger& ledger = judging.facts.ledger;
    if (ledger.state != LedgerState::kGood || ledger.all.newestAccepted) return false;
    judging.road.Broken(link, "BRN-ACCEPTED-NONE",
                        {.text = "the cloud has accepted no file yet",
                         .since = TimeOf(judging.facts.logs.started),
                         .evidence = paths::kLedger});
    return true;
  }
  const auto seconds = static_cast<double>(*age);
  const bool isCritical = judging.thresholds.criticalAge->Alarms(seconds);
  if (!isCritical && !judging.thresholds.warningAge->Alarms(seconds)) return false;
  judging.road.Broken(link, "BRN-ACCEPTED-OLD",
                      {.text = "the newest accepted file is " + Duration(*age) + " old",
                       .since = judging.facts.newestAcceptedByNow->stamp,
                       .evidence = NameOf(*judging.facts.newestAcceptedByNow),
                       .level = isCritical ? Level::kCritical : Level::kWarning});
  return true;
}

// Files that wait. False when there are few.
bool JudgeBacklog(Judging& judging, const std::string& link) {
  const auto pending = judging.results.pending;
  if (!pending) return false;
  const auto count = static_cast<double>(*pending);
  const bool isCritical =
      judging.thresholds.criticalPending && judging.thresholds.criticalPending->Alarms(count);
  const bool isOld = judging.results.oldestPendingAge.value_or(0) > kOldPendingSeconds;
  if (!isCritical && !isOld && !judging.thresholds.warningPending->Alarms(count)) return false;
  const auto catchUp = judging.results.catchUpSeconds;
  judging.road.Noted(link, "BRN-BACKLOG",
                     {.text = Format("%zu files wait, the oldest for %s; %s", *pending,
                                     Duration(judging.results.oldestPendingAge.value_or(0)).c_str(),
                                     catchUp ? ("all are sent in " + Duration(*catchUp)).c_str()
                                             : "more files come than are sent"),
                      .since = judging.facts.ledger.all.oldestPending
                                   ? judging.facts.ledger.all.oldestPending->stamp
                                   : std::nullopt,
                      .evidence = "brennik-status gaps",
                      .level = isCritical ? Level::kCritical : Level::kWarning});
  return true;
}

}  // namespace

std::optional<std::time_t> TimeOf(const std::optional<Evidence>& evidence) {
  return evidence ? std::optional(evidence->time) : std::nullopt;
}

std::string WhereOf(const std::optional<Evidence>& evidence) {
  return evidence ? evidence->where : std::string();
}

void JudgePacked(Judging& judging, const std::string& link) {
  const Facts& facts = judging.facts;
  const Attempts& packing = facts.logs.packing;
  if (packing.failed) {
    return judging.road.Broken(link, "BRN-PACK-FAILED",
                               {.text = "files cannot be packed: " + packing.failed->text,
                                .since = TimeOf(packing.firstFailed),
                                .evidence = packing.failed->where});
  }
  if (facts.ledger.state != LedgerState::kGood) {
    return judging.road.Skipped(link, judging.results.reason);
  }
  const auto& newest = facts.ledger.all.newest;
  if (newest && *newest->stamp > facts.now + kClockToleranceSeconds) {
    return judging.road.Noted(
        link, "BRN-CLOCK-BACK",
        {.text = "the clock was set back: " + NameOf(*newest) + " is " +
                 Duration(static_cast<long>(*newest->stamp - facts.now)) + " ahead of it",
         .evidence = "date; " + NameOf(*newest)});
  }
  const long interval = RealDataInterval(facts);
  if (interval < 1) return judging.road.Good(link, "live values are switched off");
  const std::time_t due = facts.now - 2 * interval - kClockToleranceSeconds;
  const bool hasHadTime = !facts.logs.started || facts.logs.started->time < due;
  if (!facts.newestByNow || *facts.newestByNow->stamp < due) {
    if (!hasHadTime) return judging.road.Skipped(link, "the service has started a moment ago");
    return judging.road.Broken(
        link, "BRN-PACK-OLD",
        {.text = facts.newestByNow
                     ? "the newest file of live values is " +
                           Duration(static_cast<long>(facts.now - *facts.newestByNow->stamp)) +
                           " old"
                     : "there is no file of live values",
         .since = facts.newestByNow ? facts.newestByNow->stamp : std::nullopt,
         .evidence =
             facts.newestByNow ? NameOf(*facts.newestByNow) : std::string(paths::kRealData)});
  }
  judging.road.Good(link, NameOf(*facts.newestByNow));
}

void JudgeLedger(Judging& judging, const std::string& link) {
  const Ledger& ledger = judging.facts.ledger;
  const Attempts& recording = judging.facts.logs.recording;
  const auto* const fault =
      std::find_if(kLedgerFaults.begin(), kLedgerFaults.end(),
                   [&](const LedgerFault& row) { return row.state == ledger.state; });
  if (fault != kLedgerFaults.end()) {
    if (ledger.state == LedgerState::kMissing && judging.IsWithinGrace()) {
      return judging.road.Skipped(link, "the service has started a moment ago");
    }
    const std::string detail = ledger.detail.empty() ? "" : ": " + ledger.detail;
    return judging.road.Broken(link, fault->code,
                               {.text = fault->text + detail, .evidence = paths::kLedger});
  }
  if (recording.failed) {
    return judging.road.Noted(link, "BRN-LEDGER-RECORDING",
                              {.text = recording.failed->text,
                               .since = TimeOf(recording.firstFailed),
                               .evidence = recording.failed->where});
  }
  judging.road.Good(link, Format("%zu files, %zu pending%s",
                                 ledger.all.accepted + ledger.all.pending, ledger.all.pending,
                                 ledger.copied.empty() ? "" : (", " + ledger.copied).c_str()));
}

void JudgeLogin(Judging& judging, const std::string& link) {
  const LogFacts& logs = judging.facts.logs;
  if (!logs.read.text) {
    if (!Has(logs.read.text.reason, "root"))
      return judging.road.Skipped(link, logs.read.text.reason);
    return judging.road.Noted(link, "BRN-NEEDS-ROOT",
                              {.text = "the text log " + logs.read.text.reason,
                               .evidence = std::string("ls -l ") + paths::kLogDirectory});
  }
  if (!logs.login.failed) {
    if (!logs.login.succeeded) return judging.road.Skipped(link, "no login was tried yet");
    return judging.road.Good(link, "logged in at " + LocalText(logs.login.succeeded->time));
  }
  const Failure* const failure = logs.loginReason ? FailureOf(logs.loginReason->text) : nullptr;
  const std::string address = " (" + std::string(judging.facts.configuration.cloud.cloudip) + ")";
  judging.road.Broken(
      link, failure == nullptr ? "BRN-LOGIN-REFUSED" : failure->code,
      {.text = failure == nullptr
                   ? "the cloud refuses the serial number " + judging.facts.configuration.serial
                   : failure->text + address,
       .since = TimeOf(logs.login.firstFailed),
       .evidence = logs.loginReason ? logs.loginReason->where : logs.login.failed->where});
}

void JudgeAddress(Judging& judging, const std::string& link) {
  const LogFacts& logs = judging.facts.logs;
  if (!logs.read.text) return judging.road.Skipped(link, logs.read.text.reason);
  const std::string address = logs.address.empty() ? "the configured one" : logs.address;
  const Failure* const failure =
      logs.uploads.failed && logs.uploadReason ? FailureOf(logs.uploadReason->text) : nullptr;
  if (failure == nullptr) {
    const bool isRedirected =
        !logs.address.empty() && logs.address != judging.facts.configuration.cloud.cloudip;
    return judging.road.Good(link,
                             address + (isRedirected ? ", where the cloud has redirected" : ""));
  }
  const long failing = static_cast<long>(judging.facts.now - logs.uploads.firstFailed->time);
  const bool isSure = failing >= kRoundsUntilSure * FailInterval(judging.facts);
  judging.road.Broken(link, failure->code,
                      {.text = failure->text + std::string(" (") + address + ")",
                       .since = TimeOf(logs.uploads.firstFailed),
                       .evidence = logs.uploadReason->where,
                       .level = isSure ? Level::kCritical : Level::kWarning});
}

void JudgeAccepted(Judging& judging, const std::string& link) {
  if (judging.facts.logs.uploads.failed) return JudgeRefused(judging, link);
  if (judging.facts.ledger.state != LedgerState::kGood) {
    return judging.road.Skipped(link, judging.results.reason);
  }
  if (JudgeAge(judging, link) || JudgeBacklog(judging, link)) return;
  if (!judging.facts.newestAcceptedByNow) {
    return judging.road.Skipped(link, judging.facts.ledger.all.newestAccepted
                                          ? "the accepted files have stamps of the future"
                                          : "the service has started a moment ago");
  }
  judging.road.Good(link, NameOf(*judging.facts.newestAcceptedByNow) + ", " +
                              Duration(judging.results.newestAcceptedAge.value_or(0)) + " old");
}

}  // namespace status
