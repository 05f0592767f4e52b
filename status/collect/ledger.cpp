#include "collect/ledger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "collect/ledgercopy.h"
#include "collect/ledgerreader.h"
#include "collect/ledgersums.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

constexpr char kNeedsRights[] = "Permission denied; sudo brennik-status can read it";
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

using ReadWith = std::function<LedgerState(LedgerReader&)>;

Visit VisitCopy(const std::string& path, const ReadWith& read) {
  const LedgerCopy copy(path);
  if (copy.State() != LedgerState::kGood) return {.state = copy.State(), .detail = copy.Detail()};
  LedgerReader reader(copy.Path(), LedgerReader::File::kCopy);
  const LedgerState state = read(reader);
  return {.state = state, .detail = reader.Detail(), .ofCopy = true};
}

Visit VisitLedger(const Place& place, bool serviceRuns, const ReadWith& read) {
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

LedgerSums Read(const Place& place, bool serviceRuns, std::time_t latest, const EachRow& eachRow) {
  LedgerSums sums;
  Ledger& ledger = sums.ledger;
  const Visit visit = VisitLedger(place, serviceRuns, [&](LedgerReader& reader) {
    const LedgerState state = reader.ReadPages([&](std::span<const LedgerRow> rows) {
      AddPage(rows, latest, &sums);
      if (eachRow) std::for_each(rows.begin(), rows.end(), eachRow);
      return true;
    });
    return state == LedgerState::kGood ? reader.CountRecalls(&ledger.recalls) : state;
  });
  ledger.state = visit.state;
  ledger.detail = visit.detail;
  if (visit.ofCopy) ledger.copied = kCopied;
  return sums;
}

}  // namespace

LedgerSums SumUpLedger(const Place& place, bool serviceRuns, std::time_t latest) {
  return Read(place, serviceRuns, latest, {});
}

Ledger ReadLedger(const Place& place, bool serviceRuns, const EachRow& eachRow) {
  return Read(place, serviceRuns, std::numeric_limits<std::time_t>::max(), eachRow).ledger;
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
