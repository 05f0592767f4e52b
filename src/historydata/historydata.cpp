#include "historydata/historydata.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>
#include <utility>

#include "datasource/realdata.h"
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

// The steps of a save that can fail for a while.
constexpr char kRecording[] = "recording";
constexpr char kAgeing[] = "ageing";

std::string CutOffStamp() {
  const auto cutOff = util::LocalTime(std::time(nullptr) - kFileAgeSeconds);
  return cutOff ? util::Stamp(*cutOff) : "";  // an empty stamp ages nothing
}

History_Data_Para PendingRow(const util::Statement& columns) {
  History_Data_Para row{};
  row.filetype = columns.Integer(0);
  util::CopyText(row.filename, columns.Text(1));
  row.result = columns.Integer(2);
  return row;
}

void* RemoveLostTree(void* /*unused*/) {
  RemoveDir(paths::kLostTree);
  return nullptr;
}

}  // namespace

std::int32_t CHistoryData::IsTableExists(const char* table) {
  if (table == nullptr) return 0;
  const std::lock_guard lock(m_mutex);
  util::Database database = OpenLedger();
  return LookForTable(database, table) == TableState::kThere ? 0 : -1;
}

void CHistoryData::CreateTable() {
  const std::lock_guard lock(m_mutex);
  CreateInLedger(CreatePendingStatement());
}

void CHistoryData::CreateRecallTable() {
  const std::lock_guard lock(m_mutex);
  CreateInLedger(CreateRecallStatement());
}

std::int32_t CHistoryData::Mkdirs(const char* path) {
  return MakeDirectories(path);
}

std::int32_t CHistoryData::SaveHistoryData(const std::vector<History_Data_Para>* rows) {
  if (rows == nullptr) return -1;
  const std::lock_guard lock(m_mutex);
  for (const auto& row : *rows) m_unrecorded.push_back(InsertPending(row));
  BoundUnrecorded();
  const Aged aged = AgedFiles(CutOffStamp());

  MakeMissingLedger();
  const Visit visit = RecordAndAge(aged);
  if (visit == Visit::kDamaged || visit == Visit::kCondemned) ReplaceDamagedTree();
  return visit == Visit::kDone ? 0 : -1;
}

void CHistoryData::BoundUnrecorded() {
  if (m_unrecorded.size() <= kMostUnrecorded) return;
  const std::size_t excess = m_unrecorded.size() - kMostUnrecorded;
  m_unrecorded.erase(m_unrecorded.begin(),
                     m_unrecorded.begin() + static_cast<std::ptrdiff_t>(excess));
  log_Text(WARN, "ledger: %zu of the oldest rows in memory are given up", excess);
}

CHistoryData::Visit CHistoryData::RecordAndAge(const Aged& aged) {
  const Visit visit = TryToRecordAndAge(aged);
  if (visit != Visit::kDamaged) return visit;
  if (const auto error = RewriteLedger()) return NoteFailure(kRecording, error, Visit::kDone);
  m_isDamaged = false;
  return TryToRecordAndAge(aged);
}

CHistoryData::Visit CHistoryData::TryToRecordAndAge(const Aged& aged) {
  util::Database database = OpenLedger();
  if (aged.condemns && LookForTable(database, aged.table) == TableState::kLacking) {
    return Visit::kCondemned;
  }
  if (m_isDamaged) return Visit::kDamaged;
  if (!database.MakeCommitsDurable()) {
    return NoteFailure(kRecording, database.Error(), Visit::kFailed);
  }
  const auto [recording, ageing] = RecordAndDropAged(database, m_unrecorded, aged);
  if (!recording) m_unrecorded.clear();
  if (recording.why == util::Failure::kDamaged || ageing.error.why == util::Failure::kDamaged) {
    return Visit::kDamaged;
  }
  const Visit outcome = ageing.listed ? Visit::kDone : Visit::kFailed;
  if (recording) return NoteFailure(kRecording, recording, outcome);
  if (ageing.error) return NoteFailure(kAgeing, ageing.error, outcome);
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
  unlink(paths::kLedger);
  m_unrecorded.clear();  // their files go with the tree
  m_unmarked.clear();
  m_isDamaged = false;
  // This fails while an earlier lost tree is still there. The tree then stays, without its ledger.
  std::rename(paths::kCloudTree, paths::kLostTree);
  int errorCode = 0;
  util::StartThread(&m_removalThread, util::DetachState::kJoinable, RemoveLostTree, nullptr,
                    &errorCode);

  // The calldata directory is deliberately left out; the next start makes it.
  MakeDirectories(paths::kLedgerDirectory);
  MakeDirectories(paths::kDataFiles);
  MakeDayDirectories();
  util::SyncFileSystem(paths::kDataFiles);
}

std::int32_t CHistoryData::GetHistoryData(std::vector<History_Data_Para>* rows) {
  if (rows == nullptr || !util::Exists(paths::kLedger)) return -1;
  const std::lock_guard lock(m_mutex);
  if (!m_unmarked.empty()) {
    util::Database database = OpenLedger();
    if (!database.MakeCommitsDurable() || !MarkUnmarked(database)) return -1;
  }
  util::Database database = OpenLedgerForReading();
  if (!database) return -1;
  util::Statement pending = database.Prepare(SelectPending());
  if (!pending) return -1;

  while (pending.NextRow()) rows->push_back(PendingRow(pending));
  // Without this note the service would send nothing any more, silently. The next save mends it.
  m_isDamaged = m_isDamaged || pending.WhyFailed() == util::Failure::kDamaged;
  return 0;
}

std::int32_t CHistoryData::UpdateHistoryData(const char* filename) {
  if (filename == nullptr) return -1;
  const std::lock_guard lock(m_mutex);
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
  const std::lock_guard lock(m_mutex);
  const std::int64_t now = std::time(nullptr);
  MakeMissingLedger();
  m_unrecorded.push_back(InsertRecall(now, filename));
  return RecordAndAge(AgedRecalls(now - kRecallAgeSeconds)) == Visit::kDone ? 0 : -1;
}

std::int32_t CHistoryData::GetRecallFlag(std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point,
                                         std::vector<ST_SINGLE_POINT_VALUE>* values) {
  const auto device = static_cast<std::uint16_t>(dataId >> 16);
  const std::uint32_t lastLiveTime = GetCRealDataInstance().GetOldTime(device);
  return static_cast<std::int32_t>(ReadMinutes(dataId, *point, lastLiveTime, *values));
}

CHistoryData& GetCHistoryDataInstance() {
  static CHistoryData instance;
  return instance;
}
