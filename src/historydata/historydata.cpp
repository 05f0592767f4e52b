#include "historydata/historydata.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>
#include <utility>

#include "historydata/ledgerfile.h"
#include "log/log.h"
#include "util/directory.h"
#include "util/durable.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/thread.h"
#include "util/timetext.h"

namespace {

constexpr std::time_t kFileAgeSeconds = 2678400;   // 31 days
constexpr std::time_t kRecallAgeSeconds = 259200;  // 3 days
constexpr int kDaysOfMonth = 31;
constexpr std::size_t kPathLimit = util::kPathBytes - 1;

// The steps of a save that can fail for a while.
constexpr char kRecording[] = "recording";
constexpr char kAgeing[] = "ageing";

std::string CutOffStamp() {
  const auto cutOff = util::LocalTime(std::time(nullptr) - kFileAgeSeconds);
  return cutOff ? util::Stamp(*cutOff) : "";  // an empty stamp ages nothing
}

void* RemoveLostTree(void* /*unused*/) {
  RemoveDir(paths::kLostTree);
  return nullptr;
}

}  // namespace

std::int32_t CHistoryData::IsTableExists(const char* table) {
  if (table == nullptr) return 0;
  const std::lock_guard lock(m_databaseMutex);
  return LookForTable(table) == TableState::kThere ? 0 : -1;
}

void CHistoryData::CreateTable() {
  const std::lock_guard lock(m_databaseMutex);
  CreateInLedger(CreatePendingStatement());
}

void CHistoryData::CreateRecallTable() {
  const std::lock_guard lock(m_databaseMutex);
  CreateInLedger(CreateRecallStatement());
}

std::int32_t CHistoryData::Mkdirs(const char* path) {
  return util::MakeDirectories(path, kPathLimit, kPathLimit);
}

std::int32_t CHistoryData::SaveHistoryData(const std::vector<History_Data_Para>* rows) {
  if (rows == nullptr) return -1;
  const std::lock_guard saving(m_savingMutex);
  for (const auto& row : *rows) m_unrecorded.push_back(InsertPending(row));
  const Aged aged = AgedFiles(CutOffStamp());

  if (PrepareLedger(kPendingTable, Tables::kPending) == TableState::kLacking) {
    ReplaceDamagedTree();
    return -1;
  }
  const Visit visit = RecordAndAge(aged);
  if (visit == Visit::kDamaged) ReplaceDamagedTree();
  return visit == Visit::kDone ? 0 : -1;
}

TableState CHistoryData::PrepareLedger(const char* table, Tables whenNew) {
  const std::lock_guard lock(m_databaseMutex);
  if (util::Exists(paths::kLedger)) return LookForTable(table);
  Mkdirs(paths::kLedgerDirectory);
  MakeLedger(whenNew);
  return TableState::kThere;  // or it cannot be opened, which nobody takes for damage
}

CHistoryData::Visit CHistoryData::RecordAndAge(const Aged& aged) {
  const std::lock_guard lock(m_databaseMutex);
  const Visit visit = TryToRecordAndAge(aged);
  if (visit != Visit::kDamaged || !RewriteLedger()) return visit;
  return TryToRecordAndAge(aged);
}

CHistoryData::Visit CHistoryData::TryToRecordAndAge(const Aged& aged) {
  util::Database database = OpenLedgerForWriting();
  if (!database) return NoteFailure(kRecording, database.Error(), Visit::kFailed);
  if (const auto error = Record(database, m_unrecorded)) {
    return NoteFailure(kRecording, error, Visit::kDone);
  }
  m_unrecorded.clear();
  bool listed = false;
  if (const auto error = DropAged(database, aged, listed)) {
    return NoteFailure(kAgeing, error, listed ? Visit::kDone : Visit::kFailed);
  }
  if (std::exchange(m_failedStep, nullptr) != nullptr) {
    log_Text(INFO, "ledger: recording and ageing succeed again");
  }
  return Visit::kDone;
}

CHistoryData::Visit CHistoryData::NoteFailure(const char* step, const util::SqlError& error,
                                              Visit outcome) {
  if (std::exchange(m_failedStep, step) != step) {
    log_Text(WARN, "ledger: %s fails, %zu rows are kept in memory: %s", step, m_unrecorded.size(),
             error.text.c_str());
  }
  return error.why == util::Failure::kDamaged ? Visit::kDamaged : outcome;
}

void CHistoryData::ReplaceDamagedTree() {
  const std::lock_guard lock(m_databaseMutex);  // nobody visits the ledger while its tree moves
  unlink(paths::kLedger);
  m_unrecorded.clear();  // the files of all of them go with the tree
  m_unmarked.clear();
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
  util::SyncFileSystem(paths::kDataFiles);
}

std::int32_t CHistoryData::GetHistoryData(std::vector<History_Data_Para>* rows) {
  if (rows == nullptr || !util::Exists(paths::kLedger)) return -1;
  const std::lock_guard lock(m_databaseMutex);
  if (!m_unmarked.empty()) {
    util::Database marks = OpenLedgerForWriting();
    if (!marks || !MarkUnmarked(marks)) return -1;
  }
  util::Database database = OpenLedger();
  if (!database) return -1;
  util::Statement pending = database.Prepare(SelectPending());
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
  if (!util::Exists(paths::kLedger)) return 0;
  m_unmarked.emplace_back(filename);
  util::Database database = OpenLedgerForWriting();
  if (!database) return -1;
  MarkUnmarked(database);
  return 0;
}

bool CHistoryData::MarkUnmarked(util::Database& database) {
  std::erase_if(m_unmarked, [&](const std::string& filename) {
    return database.Execute(Accept(filename)) || database.WhyFailed() == util::Failure::kStatement;
  });
  return m_unmarked.empty();
}

std::int32_t CHistoryData::SaveRecallData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard saving(m_savingMutex);
  const std::int64_t now = std::time(nullptr);
  m_unrecorded.push_back(InsertRecall(now, filename));
  if (PrepareLedger(kRecallTable, Tables::kPendingAndRecall) != TableState::kThere) {
    CreateRecallTable();
  }
  return RecordAndAge(AgedRecalls(now - kRecallAgeSeconds)) == Visit::kDone ? 0 : -1;
}

CHistoryData& GetCHistoryDataInstance() {
  static CHistoryData instance;
  return instance;
}
