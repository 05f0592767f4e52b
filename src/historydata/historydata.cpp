#include "historydata/historydata.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/thread.h"
#include "util/timetext.h"

namespace {

constexpr char kPendingTable[] = "tJsonFileNames";
constexpr char kRecallTable[] = "recallJsonFile";

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

constexpr std::time_t kFileAgeSeconds = 2678400;   // 31 days
constexpr std::time_t kRecallAgeSeconds = 259200;  // 3 days
constexpr int kDaysOfMonth = 31;
constexpr int kLockWaitMilliseconds = 2000;  // spares the ledger another program's short lock
constexpr std::size_t kPathLimit = util::kPathBytes - 1;

util::Database OpenLedger() {
  util::Database database(paths::kLedger);
  database.WaitForLocks(kLockWaitMilliseconds);
  return database;
}

std::string CutOffStamp() {
  const auto cutOff = util::LocalTime(std::time(nullptr) - kFileAgeSeconds);
  return cutOff ? util::Stamp(*cutOff) : "";  // an empty stamp ages nothing
}

// Unlinks the files below `directory` that the query names.
void UnlinkAged(util::Statement& names, const char* directory) {
  while (names.NextRow()) {
    const std::string name(names.Text(0));
    char path[util::kPathBytes];
    util::PrintText(path, sizeof(path), "%s/%s", directory, name.c_str());
    unlink(path);
  }
}

// Drops what the two statements name. False when the files to drop cannot be listed.
bool DropAged(util::Database& database, const std::string& select, const std::string& remove,
              const char* directory) {
  {
    util::Statement names = database.Prepare(select);
    if (!names) return false;
    UnlinkAged(names, directory);
  }
  database.Execute(remove);
  return true;
}

void* RemoveLostTree(void* /*unused*/) {
  RemoveDir(paths::kLostTree);
  return nullptr;
}

}  // namespace

std::int32_t CHistoryData::IsTableExists(const char* table) {
  if (table == nullptr) return 0;
  const std::lock_guard lock(m_databaseMutex);
  util::Database database = OpenLedger();
  if (!database) return -1;
  util::Statement count = database.Prepare(util::Format(kCountTable, table));
  if (!count) return -1;

  std::int32_t tables = 0;
  while (count.NextRow()) tables = count.Integer(0);
  return tables >= 1 ? 0 : -1;
}

void CHistoryData::CreateTable() {
  const std::lock_guard lock(m_databaseMutex);
  util::Database database = OpenLedger();
  if (database) database.Execute(util::Format(kCreatePending, kPendingTable));
}

void CHistoryData::CreateRecallTable() {
  const std::lock_guard lock(m_databaseMutex);
  util::Database database = OpenLedger();
  if (database) database.Execute(util::Format(kCreateRecall, kRecallTable));
}

std::int32_t CHistoryData::Mkdirs(const char* path) {
  return util::MakeDirectories(path, kPathLimit, kPathLimit);
}

std::int32_t CHistoryData::SaveHistoryData(const std::vector<History_Data_Para>* rows) {
  if (rows == nullptr) return -1;
  const std::lock_guard saving(m_savingMutex);
  const std::string cutOff = CutOffStamp();
  const bool existed = util::Exists(paths::kLedger);
  if (!existed) Mkdirs(paths::kLedgerDirectory);
  if (IsTableExists(kPendingTable) != 0) {
    if (existed) {
      ReplaceDamagedTree();
      return -1;
    }
    CreateTable();
  }

  const std::lock_guard lock(m_databaseMutex);
  util::Database database = OpenLedger();
  if (!database) return -1;
  database.Execute("BEGIN;");
  for (const auto& row : *rows) {
    database.Execute(
        util::Format(kInsertPending, kPendingTable, row.filetype, row.filename, row.result));
  }
  database.Execute("COMMIT;");
  const bool aged =
      DropAged(database, util::Format(kSelectAged, kPendingTable, cutOff.c_str()),
               util::Format(kDeleteAged, kPendingTable, cutOff.c_str()), paths::kDataFiles);
  return aged ? 0 : -1;
}

void CHistoryData::ReplaceDamagedTree() {
  const std::lock_guard lock(m_databaseMutex);  // nobody visits the ledger while its tree moves
  unlink(paths::kLedger);
  // Where the removal of an earlier one was cut short, the tree stays, without its ledger.
  std::rename(paths::kCloudTree, paths::kLostTree);
  int errorCode = 0;
  util::StartThread(&m_removalThread, util::DetachState::kJoinable, RemoveLostTree, nullptr,
                    &errorCode);

  // The calldata directory is deliberately left out; the next start makes it.
  Mkdirs(paths::kLedgerDirectory);
  Mkdirs(paths::kDataFiles);
  for (int day = 1; day <= kDaysOfMonth; ++day) {
    Mkdirs(util::Format("%s/%d", paths::kRealData, day).c_str());
    Mkdirs(util::Format("%s/%d", paths::kAlarmData, day).c_str());
  }
}

std::int32_t CHistoryData::GetHistoryData(std::vector<History_Data_Para>* rows) {
  if (rows == nullptr || !util::Exists(paths::kLedger)) return -1;
  const std::lock_guard lock(m_databaseMutex);
  // It may have gone with its tree; opening it would make an empty one, which condemns the tree.
  if (!util::Exists(paths::kLedger)) return -1;
  util::Database database = OpenLedger();
  if (!database) return -1;
  util::Statement pending = database.Prepare(util::Format(kSelectPending, kPendingTable));
  if (!pending) return -1;

  while (pending.NextRow()) {
    History_Data_Para row{};
    row.filetype = pending.Integer(0);
    util::CopyText(row.filename, pending.Text(1));
    row.result = pending.Integer(2);
    rows->push_back(row);
  }
  return 0;
}

std::int32_t CHistoryData::UpdateHistoryData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard lock(m_databaseMutex);
  if (!util::Exists(paths::kLedger)) return -1;  // opening it would make an empty one
  util::Database database = OpenLedger();
  if (!database) return -1;
  database.Execute(util::Format(kAccept, kPendingTable, filename));
  return 0;
}

std::int32_t CHistoryData::SaveRecallData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard saving(m_savingMutex);
  const long long now = std::time(nullptr);
  const long long cutOff = now - kRecallAgeSeconds;
  if (!util::Exists(paths::kLedger)) Mkdirs(paths::kLedgerDirectory);
  if (IsTableExists(kRecallTable) != 0) CreateRecallTable();

  const std::lock_guard lock(m_databaseMutex);
  util::Database database = OpenLedger();
  if (!database) return -1;
  database.Execute("BEGIN;");
  database.Execute(util::Format(kInsertRecall, kRecallTable, now, filename));
  database.Execute("COMMIT;");
  const bool aged =
      DropAged(database, util::Format(kSelectAgedRecalls, kRecallTable, cutOff),
               util::Format(kDeleteAgedRecalls, kRecallTable, cutOff), paths::kCallData);
  return aged ? 0 : -1;
}

CHistoryData& GetCHistoryDataInstance() {
  static CHistoryData instance;
  return instance;
}
