#include "log/logdatabase.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <mutex>

#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace {

constexpr char kTable[] = "log_tbl";
constexpr char kCreateTable[] =
    "CREATE TABLE IF NOT EXISTS log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime TIME, "
    "log_Type TEXT, log_Desc TEXT)";
constexpr char kInsert[] =
    "INSERT INTO log_tbl(RecordDate, RecordTime, log_Type, log_Desc) "
    "VALUES(\"%s\",\"%s\",\"%s\",\"%s\")";

constexpr int kDefaultMaxRows = 10000;
constexpr std::size_t kStatementBytes = 255;
constexpr std::size_t kInsertBytes = 1024;
constexpr int kInsertAttempts = 20;
constexpr unsigned kRetryPauseMicroseconds = 200000;
constexpr mode_t kOwnerSearchOnly = 0100;  // deliberate; normally the text log has made it, 0755

// The message goes into the statement as it is: a double quote breaks the statement, and the record
// is lost.
void InsertRecord(util::Database& database, const ST_LOG_NODE& node) {
  char sql[kInsertBytes];
  util::PrintText(sql, sizeof(sql), kInsert, node.date, node.time, node.logType, node.desc);
  for (int attempt = 1; !database.Execute(sql); ++attempt) {
    // Deliberate: SQLite's own text has no blank at the end, so only a message that contains one is
    // tried again.
    if (std::strstr(database.ErrorText(), "database is locked ") == nullptr) return;
    if (attempt == kInsertAttempts) return;
    usleep(kRetryPauseMicroseconds);
  }
}

}  // namespace

CLogDatabase::CLogDatabase() {
  StartRecordThread();
}

CLogDatabase::~CLogDatabase() {
  EndRecords();
}

int CLogDatabase::Init() {
  LogMaxItemSet(kDefaultMaxRows);
  return 0;
}

void CLogDatabase::LogMaxItemSet(int max) {
  m_maxRows = max;
}

int CLogDatabase::WriteLog(std::list<ST_LOG_NODE>* queue) {
  std::unique_lock queueLock(m_queueMutex);  // held to the end: callers of log_DB wait
  if (queue->empty()) return -1;

  const bool exists = util::Exists(paths::kLogDatabase) || LogTableCreate(paths::kLogDatabase) == 0;
  if (exists && InsertRecords(queue)) return 0;
  // Deliberate: if the log database cannot be made or opened, the queue stays locked and every
  // later caller of log_DB waits for good.
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
