#include "collect/ledgerbackup.h"

#include <sqlite3.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "collect/keepowners.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace status {
namespace {

constexpr int kPagesAtOnce = 50;
constexpr long kPauseNanoseconds = 20'000'000;  // between them, so that the service gets its turn
// Every write of the service lets the copying begin again, and a lock lets it wait. 31 days of
// minutes have some 1,100 pages.
constexpr int kMostCopySteps = 1500;

struct BackupFinisher {
  void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};
using Backup = std::unique_ptr<sqlite3_backup, BackupFinisher>;
using Connection = std::unique_ptr<sqlite3, util::DatabaseCloser>;

Connection Open(const std::string& path, int flags) {
  KeepOwners();
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  Connection connection(opened);
  if (result != SQLITE_OK) connection.reset();
  return connection;
}

std::string CopyPages(const std::string& from, const std::string& to) {
  const Connection source = Open(from, SQLITE_OPEN_READONLY);
  const Connection copy = Open(to, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!source || !copy) return "it cannot be opened";
  sqlite3_exec(copy.get(), "pragma journal_mode=off; pragma synchronous=off", nullptr, nullptr,
               nullptr);
  const Backup backup(sqlite3_backup_init(copy.get(), "main", source.get(), "main"));
  if (!backup) return sqlite3_errmsg(copy.get());
  int result = SQLITE_OK;
  for (int step = 0; step < kMostCopySteps; ++step) {
    result = sqlite3_backup_step(backup.get(), kPagesAtOnce);
    const bool goesOn = result == SQLITE_OK || result == SQLITE_BUSY || result == SQLITE_LOCKED;
    if (!goesOn) break;
    const timespec pause{0, kPauseNanoseconds};
    nanosleep(&pause, nullptr);
  }
  if (result == SQLITE_DONE) return {};
  return result == SQLITE_OK ? "the service writes too often" : sqlite3_errstr(result);
}

// The file as it is. Nothing of this process may have it open in SQLite.
std::string CopyBytes(const std::string& from, const std::string& to) {
  const util::File source(std::fopen(from.c_str(), "rb"));
  if (!source) return std::strerror(errno);
  const util::File copy(std::fopen(to.c_str(), "wb"));
  if (!copy) return std::strerror(errno);
  std::array<char, 16384> piece;
  for (std::size_t bytes; (bytes = std::fread(piece.data(), 1, piece.size(), source.get())) > 0;) {
    if (std::fwrite(piece.data(), 1, bytes, copy.get()) != bytes) return "there is no room for it";
  }
  if (std::ferror(source.get())) return "reading it fails";
  return std::fflush(copy.get()) == 0 ? "" : "there is no room for it";
}

}  // namespace

std::string BackUpLedger(const Place& place, bool serviceRuns, const std::string& to) {
  const std::string from = place.At(paths::kLedger);
  if (!util::IsRegularFile(from.c_str())) return "there is none";
  if (serviceRuns) return CopyPages(from, to);
  const std::string journal = place.At(paths::kLedgerJournal);
  std::string reason = CopyBytes(from, to);
  if (reason.empty() && util::IsRegularFile(journal.c_str())) {
    reason = CopyBytes(journal, to + "-journal");
  }
  return reason;
}

}  // namespace status
