#include "log/logdatabase.h"

#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>

#include "log/recordbatch.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/thread.h"
#include "util/timetext.h"

namespace {

constexpr char kTable[] = "log_tbl";
constexpr char kCreateTable[] =
    "CREATE TABLE IF NOT EXISTS log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime TIME, "
    "log_Type TEXT, log_Desc TEXT)";
constexpr char kInsert[] =
    "INSERT INTO log_tbl(RecordDate, RecordTime, log_Type, log_Desc) "
    "VALUES(\"%s\",\"%s\",\"%s\",\"%s\")";

constexpr int kDefaultMaxRows = 10000;
constexpr unsigned kCycleSeconds = 5;
constexpr std::size_t kMessageLimitBytes = 255;  // one less than the field: 254 characters
constexpr std::size_t kStatementBytes = 255;
constexpr std::size_t kInsertBytes = 1024;
constexpr int kInsertAttempts = 20;
constexpr unsigned kRetryPauseMicroseconds = 200000;
constexpr mode_t kOwnerSearchOnly = 0100;  // deliberate: normally the text log made it with 0755

// A record is inserted as it stands: a double quote inside it breaks the statement and loses it.
void InsertRecord(util::Database& database, const ST_LOG_NODE& node) {
  char sql[kInsertBytes];
  util::PrintText(sql, sizeof(sql), kInsert, node.date, node.time, node.logType, node.desc);
  for (int attempt = 1; !database.Execute(sql); ++attempt) {
    // Deliberate: SQLite's own text has no trailing blank, only messages that carry one are tried
    // again.
    if (std::strstr(database.ErrorText(), "database is locked ") == nullptr) return;
    if (attempt == kInsertAttempts) return;
    usleep(kRetryPauseMicroseconds);
  }
}

}  // namespace

CLogDatabase::CLogDatabase() {
  int errorCode = 0;
  util::StartThread(&m_recordThread, util::DetachState::kDetached, RecordThread, this, &errorCode);
}

CLogDatabase::~CLogDatabase() {
  // A batch under way comes to its end, unless it has locked itself out for good; then nobody else
  // is left at the queue. The batches need not have ended then: the next one waits at the queue.
  while (!RecordBatch<CLogDatabase>::TryEnd() && !m_queueMutex.IsAbandoned()) sched_yield();
  std::unique_lock lock(m_queueMutex, std::defer_lock);
  if (!m_queueMutex.IsAbandoned()) lock.lock();
  m_queue.clear();
}

int CLogDatabase::Init() {
  LogMaxItemSet(kDefaultMaxRows);
  return 0;
}

void CLogDatabase::LogMaxItemSet(int max) {
  m_maxRows = max;
}

void CLogDatabase::InsertLog(const char* logType, const char* message) {
  ST_LOG_NODE node{};
  const auto now = util::LocalTime(std::time(nullptr)).value_or(std::tm{});
  util::CopyText(node.date, util::DateText(now));
  util::CopyText(node.time, util::ClockText(now));
  util::CopyText(node.logType, logType);
  util::CopyText(node.desc, kMessageLimitBytes, message);

  const std::lock_guard lock(m_queueMutex);
  m_queue.push_back(node);
}

int CLogDatabase::WriteLog(std::list<ST_LOG_NODE>* queue) {
  std::unique_lock queueLock(m_queueMutex);  // held to the end: callers of log_DB wait
  if (queue->empty()) return -1;

  const bool exists = util::Exists(paths::kLogDatabase) || LogTableCreate(paths::kLogDatabase) == 0;
  if (exists && InsertRecords(queue)) return 0;
  // Deliberate: a log database that cannot be made or opened leaves the queue locked, and every
  // later caller of log_DB waiting.
  m_queueMutex.Abandon();
  queueLock.release();
  return -1;
}

bool CLogDatabase::InsertRecords(std::list<ST_LOG_NODE>* queue) {
  const std::lock_guard lock(m_databaseMutex);
  util::Database database(paths::kLogDatabase);
  if (!database) {
    std::printf("Open database(%s) failed: %s\n", paths::kLogDatabase, database.ErrorText());
    return false;
  }
  CheckSizeAndClear(database.Get(), kTable, m_maxRows, static_cast<int>(queue->size()));
  database.Execute("BEGIN TRANSACTION;");
  for (; !queue->empty(); queue->pop_front()) InsertRecord(database, queue->front());
  database.Execute("COMMIT TRANSACTION;");
  return true;
}

void* CLogDatabase::RecordThread(void* self) {
  auto* store = static_cast<CLogDatabase*>(self);
  for (;; sleep(kCycleSeconds)) {
    const RecordBatch<CLogDatabase> batch;
    if (batch) store->WriteLog(&store->m_queue);
  }
}

int CLogDatabase::LogTableCreate(const char* path) {
  if (!util::Exists(paths::kLogDirectory)) mkdir(paths::kLogDirectory, kOwnerSearchOnly);
  if (util::Exists(paths::kLogDatabase)) return 0;

  const std::lock_guard lock(m_databaseMutex);
  util::Database database(path);
  return database && database.Execute(kCreateTable) ? 0 : -1;
}

int CLogDatabase::GetTableSize(sqlite3* db, const char* table) {
  char sql[kStatementBytes];
  util::PrintText(sql, sizeof(sql), "SELECT COUNT(*) FROM %s", table);
  util::Statement count = util::Prepare(db, sql);
  if (!count) {
    std::printf("SQL error: %s\n", util::ErrorText(db));
    return -1;
  }
  return count.NextRow() ? count.Integer(0) : -1;
}

void CLogDatabase::CheckSizeAndClear(sqlite3* db, const char* table, int max, int incoming) {
  const int excess = incoming + GetTableSize(db, table) - max;
  if (excess <= 0) return;

  char sql[kStatementBytes];
  util::PrintText(sql, sizeof(sql),
                  "DELETE from %s where Pid in (select Pid from %s order by Pid limit %d)", table,
                  table, excess);
  if (!util::Execute(db, sql)) {
    std::printf("Delete Date from %s failed. %s", table, util::ErrorText(db));
  }
}
