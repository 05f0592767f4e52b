#include "historydata/ledgerfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

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
// The stamp begins 21 characters before the end of the name: 14 digits and ".tar.gz".
constexpr char kSelectAged[] =
    "select filename from %s where substr(filename,length(filename)-20, 14) <= '%s'";
constexpr char kDeleteAged[] =
    "delete from %s where substr(filename,length(filename)-20, 14) <= '%s'";
constexpr char kSelectPending[] =
    "select filetype, filename, result from %s where result=0 order by "
    "substr(filename,length(filename)-20, 14) desc limit 20";
constexpr char kAccept[] = "update %s set result=1 where result=0 and filename='%s'";
constexpr char kInsertRecall[] = "insert into %s(Createtime, filename) values('%lld','%s')";
constexpr char kSelectAgedRecalls[] = "select filename from %s where Createtime <= '%lld'";
constexpr char kDeleteAgedRecalls[] = "delete from %s where Createtime <= '%lld'";

constexpr char kAttachNew[] = "attach '%s' as fresh";
// The conditions keep SQLite from copying whole trees of pages, indexes among them.
constexpr char kCopyPending[] =
    "insert or ignore into fresh.%s(FileName,FileType,Result) select FileName,FileType,Result from "
    "main.%s "
    "not indexed where true";
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

// A file that was left there is an attempt that a power cut has ended.
bool MakeTables(const char* path, Tables tables) {
  unlink(path);
  util::Database database(path);
  if (!database || !database.Execute(CreatePendingStatement())) return false;
  return tables == Tables::kPending || database.Execute(CreateRecallStatement());
}

// The journal of the old one goes first: SQLite would play it back into the new one.
bool PutNewLedgerInPlace(unsigned flags) {
  unlink(paths::kLedgerJournal);
  if (renameat2(AT_FDCWD, paths::kNewLedger, AT_FDCWD, paths::kLedger, flags) != 0) return false;
  util::SyncFileSystem(paths::kLedgerDirectory);
  return true;
}

}  // namespace

util::Database OpenLedger() {
  util::Database database(paths::kLedger, Missing::kFails);
  database.WaitForLocks(util::kLockWaitMilliseconds);
  return database;
}

util::Database OpenLedgerForReading() {
  util::Database database(paths::kLedger, Missing::kFails);
  database.KeepCacheSmall();
  database.WaitForLocks(util::kLockWaitMilliseconds);
  return database;
}

util::Database OpenLedgerForWriting(Missing missing) {
  util::Database database(paths::kLedger, missing);
  database.WaitForLocks(util::kLockWaitMilliseconds);
  database.MakeCommitsDurable();
  return database;
}

void CreateInLedger(const std::string& statement) {
  util::Database database = OpenLedgerForWriting(Missing::kIsMade);
  if (database) database.Execute(statement);
}

void MakeLedger(Tables tables) {
  if (MakeTables(paths::kNewLedger, tables)) PutNewLedgerInPlace(RENAME_NOREPLACE);
}

util::SqlError RewriteLedger() {
  util::SqlError unavailable{util::Failure::kUnavailable, "no new ledger can be made"};
  if (!MakeTables(paths::kNewLedger, Tables::kPendingAndRecall)) return unavailable;
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

TableState LookForTable(const char* table) {
  if (util::IsDirectory(paths::kLedger)) return TableState::kLacking;
  util::Database database = OpenLedger();
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

std::string InsertRecall(std::int64_t now, const char* filename) {
  return CreateRecallStatement() + ";" +
         util::Format(kInsertRecall, kRecallTable, static_cast<long long>(now), filename);
}

std::string SelectPending() {
  return util::Format(kSelectPending, kPendingTable);
}

std::string Accept(const std::string& filename) {
  return util::Format(kAccept, kPendingTable, filename.c_str());
}

util::SqlError Record(util::Database& database, const std::vector<std::string>& inserts) {
  if (!database.Execute("BEGIN;")) return database.Error();
  for (const auto& insert : inserts) {
    if (!database.Execute(insert) && database.WhyFailed() != util::Failure::kStatement) {
      return RolledBack(database);
    }
  }
  return database.Execute("COMMIT;") ? util::SqlError{} : RolledBack(database);
}

Aged AgedFiles(const std::string& cutOffStamp) {
  return {.select = util::Format(kSelectAged, kPendingTable, cutOffStamp.c_str()),
          .remove = util::Format(kDeleteAged, kPendingTable, cutOffStamp.c_str()),
          .directory = paths::kDataFiles};
}

Aged AgedRecalls(std::int64_t cutOff) {
  const auto seconds = static_cast<long long>(cutOff);
  return {.select = util::Format(kSelectAgedRecalls, kRecallTable, seconds),
          .remove = util::Format(kDeleteAgedRecalls, kRecallTable, seconds),
          .directory = paths::kCallData};
}

util::SqlError DropAged(util::Database& database, const Aged& aged, bool& listed) {
  std::vector<std::string> names;
  {
    util::Statement rows = database.Prepare(aged.select);
    listed = static_cast<bool>(rows);
    if (!listed) return database.Error();
    while (rows.NextRow()) names.emplace_back(rows.Text(0).substr(0, util::kPathBytes));
    if (rows.Failed()) return {rows.WhyFailed(), database.ErrorText()};
  }
  if (names.empty()) return {};
  if (!database.Execute(aged.remove)) return database.Error();
  for (const auto& name : names) {
    char path[util::kPathBytes];
    util::PrintText(path, sizeof(path), "%s/%s", aged.directory, name.c_str());
    unlink(path);
  }
  return {};
}
