// Reads the ledger without costing the service anything: short statements, pages of 1,000 rows by
// key, nothing open in between. It never writes, waits for no lock and makes no file.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <optional>
#include <string>

#include "collect/place.h"

namespace status {

enum class LedgerState {
  kGood,
  kMissing,     // there is no file
  kForeign,     // it is a folder or the like, no database, or cut short; see `detail`
  kNoTable,     // a database without the table of files, or with another table of that name
  kDamaged,     // its rows cannot be read
  kBusy,        // another program holds its lock; the counts are incomplete
  kUnfinished,  // an unfinished write waits for the service, which runs
  kUnreadable,  // no right to read it, or an I/O error; see `detail`
};

// One file as the ledger has it.
struct LedgerRow {
  std::string name;  // "realdata/22/S20261122040000.tar.gz"
  int type = 0;  // by its name: kRealDataFile ("S…"), kAlarmDataFile ("T…"), or 0 for others
  bool accepted = false;
  std::optional<std::time_t> stamp;  // its stamp, read as local time; none when the name has none
};
using EachRow = std::function<void(const LedgerRow&)>;

// What is known of a kind of files. A name without a stamp counts only as pending or accepted.
struct FileCounts {
  std::size_t pending = 0;
  std::size_t accepted = 0;
  std::optional<LedgerRow> newest;  // by stamp, accepted or not
  std::optional<LedgerRow> newestAccepted;
  std::optional<LedgerRow> newestPending;
  std::optional<LedgerRow> oldestPending;
};

struct Ledger {
  LedgerState state = LedgerState::kMissing;
  std::string detail;  // SQLite's or the system's own words, or empty
  std::string copied;  // "read from a copy": a hot journal without a running service
  FileCounts all;
  FileCounts realData;
  FileCounts alarmData;
  std::size_t recalls = 0;  // recall files of the last three days
};

// Reads every row. `serviceRuns`: an unfinished write is then the service's own to finish;
// otherwise ledger and journal are copied to a temporary folder, which is removed again, and the
// copy is read. At most two million rows are read; `detail` says so when there are more. `eachRow`
// is called between the pages, when no lock is held. No other connection to the ledger may be open
// in this process.
Ledger ReadLedger(const Place& place, bool serviceRuns, const EachRow& eachRow = {});

// The sums, and the newest files whose stamps have come. `latest` bounds these stamps.
struct LedgerSums {
  Ledger ledger;
  std::optional<LedgerRow> newestByNow;          // live values, accepted or not, until `latest`
  std::optional<LedgerRow> newestAcceptedByNow;  // of any kind, until `latest`
};
LedgerSums SumUpLedger(const Place& place, bool serviceRuns, std::time_t latest);

// Looks for one name: a whole ledger name, or a base name such as "S20261122040000.tar.gz". The
// state tells whether the ledger could be read.
struct FoundRow {
  LedgerState state = LedgerState::kMissing;
  std::string detail;
  std::optional<LedgerRow> row;
};
FoundRow FindRow(const Place& place, bool serviceRuns, const std::string& name);

// The stamp of a file name ("S20261122040000.tar.gz", with or without folders), as local time.
std::optional<std::time_t> StampOf(const std::string& name);

}  // namespace status
