#include "historydata/historydata.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>
#include <utility>

#include "historydata/datatree.h"
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
constexpr std::size_t kMostUnrecorded = 10000;     // a month of real data every five minutes
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
  BoundUnrecorded();
  const Aged aged = AgedFiles(CutOffStamp());

  if (util::IsMissing(paths::kLedger)) {
    MakeNewLedger(Tables::kPending);
  } else if (LookFor(kPendingTable) == TableState::kLacking) {
    ReplaceDamagedTree();
    return -1;
  }
  const Visit visit = RecordAndAge(aged);
  if (visit == Visit::kDamaged) ReplaceDamagedTree();
  return visit == Visit::kDone ? 0 : -1;
}

void CHistoryData::BoundUnrecorded() {
  if (m_unrecorded.size() <= kMostUnrecorded) return;
  const std::size_t excess = m_unrecorded.size() - kMostUnrecorded;
  m_unrecorded.erase(m_unrecorded.begin(),
                     m_unrecorded.begin() + static_cast<std::ptrdiff_t>(excess));
  log_Text(WARN, "ledger: %zu of the oldest rows in memory are given up", excess);
}

TableState CHistoryData::LookFor(const char* table) {
  const std::lock_guard lock(m_databaseMutex);
  return LookForTable(table);
}

void CHistoryData::MakeNewLedger(Tables tables) {
  const std::lock_guard lock(m_databaseMutex);
  Mkdirs(paths::kLedgerDirectory);
  MakeLedger(tables);
}

CHistoryData::Visit CHistoryData::RecordAndAge(const Aged& aged) {
  const std::lock_guard lock(m_databaseMutex);
  if (!m_isDamaged) {
    const Visit visit = TryToRecordAndAge(aged);
    if (visit != Visit::kDamaged) return visit;
  }
  if (const auto error = RewriteLedger()) return NoteFailure(kRecording, error, Visit::kDone);
  m_isDamaged = false;
  return TryToRecordAndAge(aged);
}

CHistoryData::Visit CHistoryData::TryToRecordAndAge(const Aged& aged) {
  util::Database database = OpenLedgerForWriting();
  if (!database) return NoteFailure(kRecording, database.Error(), Visit::kFailed);
  const auto recording = Record(database, m_unrecorded);
  if (recording.why == util::Failure::kDamaged) return Visit::kDamaged;
  if (!recording) m_unrecorded.clear();

  // On a card that is too full for a row, ageing makes room.
  bool listed = false;
  const auto ageing = DropAged(database, aged, listed);
  if (ageing.why == util::Failure::kDamaged) return Visit::kDamaged;
  const Visit outcome = listed ? Visit::kDone : Visit::kFailed;
  if (recording) return NoteFailure(kRecording, recording, outcome);
  if (ageing) return NoteFailure(kAgeing, ageing, outcome);
  if (std::exchange(m_failedStep, nullptr) != nullptr) {
    log_Text(INFO, "ledger: recording and ageing succeed again");
  }
  return Visit::kDone;
}

CHistoryData::Visit CHistoryData::NoteFailure(const char* step, const util::SqlError& error,
                                              Visit outcome) {
  if (error.why == util::Failure::kDamaged) return Visit::kDamaged;
  if (std::exchange(m_failedStep, step) != step) {
    log_Text(WARN, "ledger: %s fails, %zu rows wait in memory: %s", step, m_unrecorded.size(),
             error.text.c_str());
  }
  return outcome;
}

void CHistoryData::ReplaceDamagedTree() {
  const std::lock_guard lock(m_databaseMutex);  // nobody visits the ledger while its tree moves
  unlink(paths::kLedger);
  m_unrecorded.clear();  // their files go with the tree
  m_unmarked.clear();
  m_isDamaged = false;
  // Where the removal of an earlier one was cut short, the tree stays, without its ledger.
  std::rename(paths::kCloudTree, paths::kLostTree);
  int errorCode = 0;
  util::StartThread(&m_removalThread, util::DetachState::kJoinable, RemoveLostTree, nullptr,
                    &errorCode);

  // The calldata directory is deliberately left out; the next start makes it.
  Mkdirs(paths::kLedgerDirectory);
  Mkdirs(paths::kDataFiles);
  MakeDayDirectories();
  util::SyncFileSystem(paths::kDataFiles);
}

std::int32_t CHistoryData::GetHistoryData(std::vector<History_Data_Para>* rows) {
  if (rows == nullptr || !util::Exists(paths::kLedger)) return -1;
  const std::lock_guard lock(m_databaseMutex);
  if (!m_unmarked.empty()) {
    util::Database marks = OpenLedgerForWriting();
    if (!marks || !MarkUnmarked(marks)) return -1;
  }
  util::Database database = OpenLedgerForReading();
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
  // Else nothing would be sent any more, without a word. The next save sees to it.
  m_isDamaged = m_isDamaged || pending.WhyFailed() == util::Failure::kDamaged;
  return 0;
}

std::int32_t CHistoryData::UpdateHistoryData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard lock(m_databaseMutex);
  if (!util::Exists(paths::kLedger)) return 0;
  m_unmarked.push_back(Accept(filename));
  util::Database database = OpenLedger();
  if (!database) return -1;
  if (database.MakeCommitsDurable()) MarkUnmarked(database);
  return 0;
}

bool CHistoryData::MarkUnmarked(util::Database& database) {
  if (Record(database, m_unmarked)) return false;
  m_unmarked.clear();
  return true;
}

std::int32_t CHistoryData::SaveRecallData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard saving(m_savingMutex);
  const std::int64_t now = std::time(nullptr);
  if (util::IsMissing(paths::kLedger)) MakeNewLedger(Tables::kPendingAndRecall);
  m_unrecorded.push_back(InsertRecall(now, filename));  // makes the table where it is missing
  return RecordAndAge(AgedRecalls(now - kRecallAgeSeconds)) == Visit::kDone ? 0 : -1;
}

CHistoryData& GetCHistoryDataInstance() {
  static CHistoryData instance;
  return instance;
}
