#include "collect/ledger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "collect/ledgercopy.h"
#include "collect/ledgerreader.h"
#include "historydata/historydata.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

constexpr char kNeedsRights[] = "Permission denied; sudo brennik-status can read it";
// So many pending rows may be stepped over in one short statement.
constexpr std::size_t kFewPending = 1000;
constexpr char kCopied[] = "read from a copy, because an unfinished write waits for the service";

// How a visit of the ledger ended.
struct Visit {
  LedgerState state = LedgerState::kGood;
  std::string detail;
  bool ofCopy = false;
};

std::string SystemsWords(int error) {
  return error == EACCES || error == EPERM ? kNeedsRights : std::strerror(error);
}

bool IsAbsent(int error) {
  return error == ENOENT || error == ENOTDIR;
}

// Opens nothing: a pipe would make the opening wait, a device could do anything.
Visit LookAtFile(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) {
    if (IsAbsent(errno)) return {.state = LedgerState::kMissing, .detail = {}};
    return {.state = LedgerState::kUnreadable, .detail = path + ": " + SystemsWords(errno)};
  }
  if (S_ISREG(found.st_mode)) {
    if (faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0) return {};
    return {.state = LedgerState::kUnreadable, .detail = path + ": " + SystemsWords(errno)};
  }
  const char* what = S_ISDIR(found.st_mode) ? " is a folder" : " is no file";
  return {.state = LedgerState::kForeign, .detail = path + what};
}

// Symbolic links are followed first, as SQLite does: the journal lies beside the real file.
Visit LookAtFiles(const std::string& path, std::string* real) {
  const std::unique_ptr<char, util::MemoryFreer> resolved(realpath(path.c_str(), nullptr));
  *real = resolved ? resolved.get() : path;
  Visit seen = LookAtFile(*real);
  if (seen.state != LedgerState::kGood) return seen;
  seen = LookAtFile(*real + "-journal");
  return seen.state == LedgerState::kMissing ? Visit{} : seen;
}

using Read = std::function<LedgerState(LedgerReader&)>;

Visit VisitCopy(const std::string& path, const Read& read) {
  const LedgerCopy copy(path);
  if (copy.State() != LedgerState::kGood) return {.state = copy.State(), .detail = copy.Detail()};
  LedgerReader reader(copy.Path(), LedgerReader::File::kCopy);
  const LedgerState state = read(reader);
  return {.state = state, .detail = reader.Detail(), .ofCopy = true};
}

Visit VisitLedger(const Place& place, bool serviceRuns, const Read& read) {
  std::string path;
  Visit visit = LookAtFiles(place.At(paths::kLedger), &path);
  if (visit.state != LedgerState::kGood) return visit;
  bool isUntouched = false;
  {
    LedgerReader reader(path, LedgerReader::File::kGatewaysOwn);
    visit.state = read(reader);
    visit.detail = reader.Detail();
    isUntouched = !reader.HasGivenRows();
  }
  const bool needsCopy = visit.state == LedgerState::kUnfinished && !serviceRuns && isUntouched;
  return needsCopy ? VisitCopy(path, read) : visit;
}

void KeepNewest(std::optional<LedgerRow>* kept, const LedgerRow& row) {
  if (!*kept || *row.stamp > *(*kept)->stamp) *kept = row;
}

void KeepOldest(std::optional<LedgerRow>* kept, const LedgerRow& row) {
  if (!*kept || *row.stamp < *(*kept)->stamp) *kept = row;
}

void Count(FileCounts* counts, const LedgerRow& row) {
  ++(row.accepted ? counts->accepted : counts->pending);
  if (!row.stamp) return;
  KeepNewest(&counts->newest, row);
  KeepNewest(row.accepted ? &counts->newestAccepted : &counts->newestPending, row);
  if (!row.accepted) KeepOldest(&counts->oldestPending, row);
}

void Count(Ledger* ledger, const LedgerRow& row) {
  Count(&ledger->all, row);
  if (row.type == kRealDataFile) Count(&ledger->realData, row);
  if (row.type == kAlarmDataFile) Count(&ledger->alarmData, row);
}

void KeepByNow(LedgerSums* sums, const LedgerRow& row, std::time_t latest) {
  if (!row.stamp || *row.stamp > latest) return;
  if (row.type == kRealDataFile) KeepNewest(&sums->newestByNow, row);
  if (row.accepted) KeepNewest(&sums->newestAcceptedByNow, row);
}

LedgerState ReadAll(LedgerReader& reader, std::time_t latest, LedgerSums* sums) {
  *sums = {};
  return reader.ReadFiles([&](const LedgerRow& row) {
    Count(&sums->ledger, row);
    KeepByNow(sums, row, latest);
    return true;
  });
}

void Add(Ledger* ledger, const LedgerReader::Sums& accepted) {
  ledger->all.accepted += accepted.all;
  ledger->realData.accepted += accepted.realData;
  ledger->alarmData.accepted += accepted.alarmData;
}

void KeepNewestOf(FileCounts* counts, const LedgerRow& row) {
  KeepNewest(&counts->newest, row);
  KeepNewest(&counts->newestAccepted, row);
}

// False when the index has no answer: what is looked for could hide behind this row.
bool TakeLastOfDay(const LedgerRow& row, std::time_t latest, LedgerSums* sums) {
  if (!row.stamp || *row.stamp > latest) return false;
  KeepNewestOf(&sums->ledger.all, row);
  KeepNewestOf(row.type == kRealDataFile ? &sums->ledger.realData : &sums->ledger.alarmData, row);
  KeepByNow(sums, row, latest);
  return true;
}

LedgerState SumUp(LedgerReader& reader, std::time_t latest, LedgerSums* sums) {
  *sums = {};
  const LedgerState state =
      reader.SumUpFiles([&](const auto& accepted) { Add(&sums->ledger, accepted); },
                        [&](const LedgerRow& row) {
                          Count(&sums->ledger, row);
                          KeepByNow(sums, row, latest);
                          return true;
                        });
  if (state != LedgerState::kGood) return state;
  if (sums->ledger.all.pending > kFewPending) return ReadAll(reader, latest, sums);
  for (const int type : {kRealDataFile, kAlarmDataFile}) {
    bool isAnswered = true;
    const LedgerState found = reader.ReadLastAccepted(
        type, [&](const LedgerRow& row) { return isAnswered = TakeLastOfDay(row, latest, sums); });
    if (found != LedgerState::kGood || !isAnswered) return ReadAll(reader, latest, sums);
  }
  return state;
}

}  // namespace

LedgerSums SumUpLedger(const Place& place, bool serviceRuns, std::time_t latest) {
  LedgerSums sums;
  const Visit visit = VisitLedger(place, serviceRuns, [&](LedgerReader& reader) {
    const LedgerState state = SumUp(reader, latest, &sums);
    return state == LedgerState::kGood ? reader.CountRecalls(&sums.ledger.recalls) : state;
  });
  sums.ledger.state = visit.state;
  sums.ledger.detail = visit.detail;
  if (visit.ofCopy) sums.ledger.copied = kCopied;
  return sums;
}

Ledger ReadLedger(const Place& place, bool serviceRuns, const EachRow& eachRow) {
  Ledger ledger;
  const Visit visit = VisitLedger(place, serviceRuns, [&](LedgerReader& reader) {
    const LedgerState state = reader.ReadFiles([&](const LedgerRow& row) {
      Count(&ledger, row);
      if (eachRow) eachRow(row);
      return true;
    });
    return state == LedgerState::kGood ? reader.CountRecalls(&ledger.recalls) : state;
  });
  ledger.state = visit.state;
  ledger.detail = visit.detail;
  if (visit.ofCopy) ledger.copied = kCopied;
  return ledger;
}

FoundRow FindRow(const Place& place, bool serviceRuns, const std::string& name) {
  FoundRow found;
  const Visit visit = VisitLedger(place, serviceRuns, [&](LedgerReader& reader) {
    return reader.ReadFiles([&](const LedgerRow& row) {
      const bool isExact = row.name == name;
      if (isExact || (!found.row && util::BaseName(row.name) == name)) found.row = row;
      return !isExact;
    });
  });
  found.state = visit.state;
  found.detail = visit.detail;
  return found;
}

}  // namespace status
