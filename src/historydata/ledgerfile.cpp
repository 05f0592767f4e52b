#include "historydata/ledgerfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "historydata/datatree.h"
#include "util/directory.h"
#include "util/durable.h"
#include "util/paths.h"
#include "util/text.h"

using Missing = util::Database::Missing;

namespace {

constexpr char kCountTable[] =
    "select count(*) from sqlite_master where tbl_name='%s' and type='table'";
constexpr char kCreatePending[] =
    "CREATE TABLE IF NOT EXISTS %s(FileName VARCHAR(32) PRIMARY KEY ASC,FileType TINYINT DEFAULT "
    "1,Result TINYINT DEFAULT 0)";
constexpr char kCreateRecall[] =
    "CREATE TABLE IF NOT EXISTS %s( Createtime INTEGER,FileName VARCHAR(32))";
constexpr char kInsertPending[] =
    "insert into %s(filetype, filename, result) values('%d','%s','%d')";
// A name ends in its stamp of 14 digits and ".tar.gz".
constexpr char kStamp[] = "substr(filename,length(filename)-20, 14)";
constexpr char kSelectPending[] =
    "select filetype, filename, result from %s where result=0 order by %s desc limit 20";
constexpr char kAccept[] = "update %s set result=1 where result=0 and filename='%s'";
constexpr char kInsertRecall[] = "insert into %s(Createtime, filename) values('%lld','%s')";
constexpr char kSelectAged[] = "select filename from %s where %s";
constexpr char kDeleteAged[] = "delete from %s where %s";

constexpr char kAttachNew[] = "attach '%s' as fresh";
// The conditions make SQLite copy row by row. Otherwise it copies whole tables and indexes.
constexpr char kCopyPending[] =
    "insert or ignore into fresh.%s(FileName,FileType,Result) select FileName,FileType,Result from "
    "main.%s not indexed where true";
constexpr char kCopyRecalls[] =
    "insert into fresh.%s(Createtime,FileName) select Createtime,FileName from main.%s where true";

TableState AfterFailure(util::Failure failure) {
  return failure == util::Failure::kUnavailable ? TableState::kUnknown : TableState::kLacking;
}

util::SqlError RolledBack(util::Database& database) {
  util::SqlError error = database.Error();
  database.Execute("ROLLBACK;");
  return error;
}

// False in `work` undoes all of it, as a failure to commit does.
template <typename Work>
util::SqlError InTransaction(util::Database& database, Work work) {
  if (!database.Execute("BEGIN;")) return database.Error();
  if (!work()) return RolledBack(database);
  return database.Execute("COMMIT;") ? util::SqlError{} : RolledBack(database);
}

// One that does not fit the content is skipped.
bool RunAll(util::Database& database, const std::vector<std::string>& statements) {
  for (const auto& statement : statements) {
    if (!database.Execute(statement) && database.WhyFailed() != util::Failure::kStatement) {
      return false;
    }
  }
  return true;
}

// Makes the file that is to become the ledger. A power cut may have left an unfinished one.
bool MakeNewLedger(const std::string& tables) {
  unlink(paths::kNewLedger);
  util::Database database(paths::kNewLedger);
  return database && database.Execute(tables);
}

// Removes the old ledger's journal first: SQLite would play it back into the new one.
bool PutNewLedgerInPlace(unsigned flags) {
  unlink(paths::kLedgerJournal);
  if (renameat2(AT_FDCWD, paths::kNewLedger, AT_FDCWD, paths::kLedger, flags) != 0) return false;
  util::SyncFileSystem(paths::kLedgerDirectory);
  return true;
}

// Each path is cut at 127 characters.
void UnlinkFiles(const char* directory, const std::vector<std::string>& names) {
  for (const auto& name : names) {
    char path[util::kPathBytes];
    util::PrintText(path, sizeof(path), "%s/%s", directory, name.c_str());
    unlink(path);
  }
}

// After a failure there are no names.
AgeingResult ListAged(util::Database& database, const Aged& aged, std::vector<std::string>& names) {
  util::Statement rows =
      database.Prepare(util::Format(kSelectAged, aged.table, aged.condition.c_str()));
  if (!rows) return {.listed = false, .error = database.Error()};
  while (rows.NextRow()) names.emplace_back(rows.Text(0).substr(0, util::kPathBytes));
  if (!rows.Failed()) return {};
  names.clear();
  return {.listed = true, .error = {rows.WhyFailed(), database.ErrorText()}};
}

bool DeleteAged(util::Database& database, const Aged& aged) {
  return database.Execute(util::Format(kDeleteAged, aged.table, aged.condition.c_str()));
}

}  // namespace

util::Database OpenLedger(Missing missing) {
  util::Database database(paths::kLedger, missing);
  database.WaitForLocks(util::kLockWaitMilliseconds);
  return database;
}

util::Database OpenLedgerForReading() {
  util::Database database(paths::kLedger, Missing::kFails);
  database.KeepCacheSmall();  // before the next line: no lock is waited for twice
  database.WaitForLocks(util::kLockWaitMilliseconds);
  return database;
}

void CreateInLedger(const std::string& statement) {
  util::Database database = OpenLedger(Missing::kIsMade);
  if (database.MakeCommitsDurable()) database.Execute(statement);
}

void MakeMissingLedger() {
  if (!util::IsMissing(paths::kLedger)) return;
  MakeDirectories(paths::kLedgerDirectory);
  if (MakeNewLedger(CreatePendingStatement())) PutNewLedgerInPlace(RENAME_NOREPLACE);
}

util::SqlError RewriteLedger() {
  util::SqlError unavailable{util::Failure::kUnavailable, "no new ledger can be made"};
  if (!MakeNewLedger(CreatePendingStatement() + ";" + CreateRecallStatement())) return unavailable;
  {
    util::Database database = OpenLedger();
    if (!database || !database.Execute(util::Format(kAttachNew, paths::kNewLedger)) ||
        !database.Execute(util::Format(kCopyPending, kPendingTable, kPendingTable))) {
      return database.Error();
    }
    // An older ledger may have no recall table.
    if (!database.Execute(util::Format(kCopyRecalls, kRecallTable, kRecallTable)) &&
        database.WhyFailed() != util::Failure::kStatement) {
      return database.Error();
    }
  }
  if (!PutNewLedgerInPlace(0)) return unavailable;
  return {};
}

TableState LookForTable(util::Database& database, const char* table) {
  if (util::IsDirectory(paths::kLedger)) return TableState::kLacking;
  if (!database) return AfterFailure(database.WhyFailed());
  util::Statement count = database.Prepare(util::Format(kCountTable, table));
  if (!count) return AfterFailure(database.WhyFailed());

  std::int32_t tables = 0;
  while (count.NextRow()) tables = count.Integer(0);
  if (count.Failed()) return AfterFailure(count.WhyFailed());
  return tables >= 1 ? TableState::kThere : TableState::kLacking;
}

std::string CreatePendingStatement() {
  return util::Format(kCreatePending, kPendingTable);
}

std::string CreateRecallStatement() {
  return util::Format(kCreateRecall, kRecallTable);
}

std::string InsertPending(const History_Data_Para& row) {
  return util::Format(kInsertPending, kPendingTable, row.filetype, row.filename, row.result);
}

std::string InsertRecall(std::int64_t now, const std::string& filename) {
  return CreateRecallStatement() + ";" +
         util::Format(kInsertRecall, kRecallTable, static_cast<long long>(now), filename.c_str());
}

std::string SelectPending() {
  return util::Format(kSelectPending, kPendingTable, kStamp);
}

std::string Accept(const std::string& filename) {
  return util::Format(kAccept, kPendingTable, filename.c_str());
}

util::SqlError Record(util::Database& database, const std::vector<std::string>& statements) {
  return InTransaction(database, [&] { return RunAll(database, statements); });
}

Aged AgedFiles(const std::string& cutOffStamp) {
  return {.table = kPendingTable,
          .condition = util::Format("%s <= '%s'", kStamp, cutOffStamp.c_str()),
          .directory = paths::kDataFiles,
          .condemns = true};
}

Aged AgedRecalls(std::int64_t cutOff) {
  return {.table = kRecallTable,
          .condition = util::Format("Createtime <= '%lld'", static_cast<long long>(cutOff)),
          .directory = paths::kCallData,
          .condemns = false};
}

AgeingResult DropAged(util::Database& database, const Aged& aged) {
  std::vector<std::string> names;
  AgeingResult result = ListAged(database, aged, names);
  if (names.empty()) return result;
  if (DeleteAged(database, aged)) {
    UnlinkFiles(aged.directory, names);
  } else {
    result.error = database.Error();
  }
  return result;
}

SaveResult RecordAndDropAged(util::Database& database, const std::vector<std::string>& statements,
                             const Aged& aged) {
  std::vector<std::string> names;
  AgeingResult ageing;
  const auto both = InTransaction(database, [&] {
    if (!RunAll(database, statements)) return false;
    ageing = ListAged(database, aged, names);
    return names.empty() || DeleteAged(database, aged);
  });
  if (!both) {
    UnlinkFiles(aged.directory, names);
    return {.recording = {}, .ageing = ageing};
  }
  const bool ageingTookPart = ageing.error || !names.empty();
  const auto recording = ageingTookPart ? Record(database, statements) : both;
  if (recording.why == util::Failure::kDamaged) return {.recording = recording, .ageing = {}};
  return {.recording = recording, .ageing = DropAged(database, aged)};
}
