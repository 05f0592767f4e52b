// Everything that is known about a gateway at one moment.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "collect/configuration.h"
#include "collect/fact.h"
#include "collect/ledger.h"
#include "collect/logs.h"
#include "collect/machine.h"
#include "collect/place.h"

namespace status {

// A record of a log that shows something.
struct Evidence {
  std::time_t time = 0;
  std::string text;   // the message
  std::string where;  // file and line
};

// A thing that either works or fails, as the log tells it since the service's last start.
struct Attempts {
  std::optional<Evidence> succeeded;  // the last success
  std::optional<Evidence> failed;     // the last failure after it; none when the last one succeeded
  std::optional<Evidence> firstFailed;  // the first failure of this row of failures
};

// What the logs say about the time since the service's last start. Counts of errors are not kept.
struct LogFacts {
  LogsRead read;
  std::optional<Evidence> started;  // the last "Brennik Start running"
  long startsInLastHour = 0;
  std::optional<Evidence>
      endedEarly;            // "no sd card, …" or "Brennik Init failed" after the last start
  std::optional<bool> isOn;  // "Brennik is Set on" or "… off"
  std::optional<Evidence> setOnOff;
  std::optional<Evidence> intervalsLine;
  std::optional<Interval_Info> intervals;  // in force
  Attempts login;
  std::optional<Evidence> loginReason;  // the record that says why the login failed
  Attempts heartbeat;                   // the address check every ten minutes
  std::string address;                  // the address in use; empty: unknown
  std::optional<Evidence> addressSet;
  Attempts segment;    // fails with "Brennik Get RealData error"
  Attempts points;     // fails with "…, can't find id: …"
  Attempts packing;    // of live values, and of alarms
  Attempts recording;  // fails with "ledger: … fails, …"
  Attempts uploads;    // real data and alarms
  std::optional<Evidence>
      uploadReason;         // the answer or the transport failure of the last failed upload
  std::string refusedFile;  // base name of the file of the last failed upload
  std::optional<Evidence> refusedFirst;  // the first failed upload of this file
  bool othersAccepted = false;           // and after it the cloud accepted other files
  std::optional<std::time_t> newestRecord;
};

struct Facts {
  std::time_t now = 0;  // wall clock
  Place place;
  Card card;
  Fact<pid_t> process;
  Configuration configuration;
  Segment segment;
  // Points that are configured and not published, except those of channel 193. Unknown without a
  // configuration or a segment.
  Fact<std::vector<std::uint32_t>> unpublished;
  Ledger ledger;
  // The newest files whose stamp has come; a clock that was set back leaves younger ones behind.
  std::optional<LedgerRow> newestByNow;          // live values, accepted or not
  std::optional<LedgerRow> newestAcceptedByNow;  // of any kind
  LogFacts logs;

  // A copied card has none: nothing is known of it, and nothing is judged.
  bool LacksConfiguration() const { return !place.IsLive() && configuration.newestChange == 0; }
};
inline constexpr char kNoConfigurationCopied[] = "the copy has no configuration";

// Looks at everything once.
Facts CollectFacts(const Place& place);

// Reads the logs into facts; part of CollectFacts.
LogFacts CollectLogFacts(const Place& place, std::time_t now);

}  // namespace status
