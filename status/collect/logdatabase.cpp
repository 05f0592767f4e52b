#include "collect/logdatabase.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>

#include "collect/keepowners.h"
#include "collect/logfile.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

// SQLite's own name for files without locks.
constexpr char kWithoutLocks[] = "unix-none";
constexpr char kSettings[] = "PRAGMA cache_size=-256; PRAGMA cell_size_check=ON";
// Changes with every transaction of another program. It fails while one is being written.
constexpr char kVersion[] = "PRAGMA data_version";
constexpr char kNewestPid[] = "SELECT max(Pid) FROM log_tbl";
constexpr char kPage[] =
    "SELECT Pid, RecordDate || ' ' || RecordTime, log_Type, "
    "substr(CAST(log_Desc AS BLOB), 1, %zu) FROM log_tbl "
    "WHERE Pid > %d AND Pid <= 2147483647 ORDER BY Pid LIMIT %zu";

constexpr std::size_t kPageRows = 1000;
constexpr std::size_t kPageBytes = 524288;  // of messages; the service's own have 254,000 at most
constexpr std::size_t kLevelBytes = 15;
constexpr int kLongestValueBytes = 1048576;
constexpr int kMostSteps = 500'000;  // of SQLite's machine; a page takes 20,000
constexpr int kAttempts = 10;
constexpr timespec kPause = {.tv_sec = 0, .tv_nsec = 20'000'000};

std::string Named(const char* what) {
  return std::string(paths::kLogDatabase) + what;
}

// Whether a failure has another cause than a write that is under way.
bool IsLasting(int code) {
  return code == SQLITE_ERROR || code == SQLITE_NOTADB || code == SQLITE_INTERRUPT;
}

int EndStatement(void* /*unused*/) {
  return 1;
}

}  // namespace

std::string LogDatabase::Start() {
  m_trouble.clear();
  m_page.clear();
  m_next = 0;
  if (!Open()) return m_trouble;
  // A log whose rows were all removed begins with 1 again.
  const auto newest = Number(kNewestPid);
  if (newest && *newest < m_lastPid) m_lastPid = 0;
  LoadPage();
  return m_trouble;
}

bool LogDatabase::Open() {
  KeepOwners();
  m_database.reset();
  const std::string path = m_place.At(paths::kLogDatabase);
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 ||
      (S_ISREG(status.st_mode) && access(path.c_str(), R_OK) != 0)) {
    const int error = errno;
    const bool hasFolder = util::Exists(m_place.At(paths::kLogDirectory).c_str());
    m_trouble = WhyUnreadable(paths::kLogDatabase, error, hasFolder);
  } else if (!S_ISREG(status.st_mode)) {
    m_trouble = Named(" is no regular file");
  } else if (status.st_size == 0) {
    // SQLite would remove a journal beside an empty file.
    m_trouble = Named(" is empty");
  }
  if (!m_trouble.empty()) return false;
  if (status.st_ino != std::exchange(m_inode, status.st_ino)) m_lastPid = 0;

  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(path.c_str(), &database,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, kWithoutLocks);
  m_database.reset(database);
  if (result != SQLITE_OK) {
    m_trouble = Named(" cannot be read: ") + util::ErrorText(database);
    return false;
  }
  sqlite3_limit(database, SQLITE_LIMIT_LENGTH, kLongestValueBytes);
  sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_progress_handler(database, kMostSteps, EndStatement, nullptr);
  util::Execute(database, kSettings);
  return true;
}

// Reads the next page into m_page, again if it changed meanwhile. A page that is damaged ends where
// the damage begins, and is the last one.
void LogDatabase::LoadPage() {
  for (int attempt = 1; attempt <= kAttempts; ++attempt) {
    if (attempt > 1) nanosleep(&kPause, nullptr);
    if (ReadUnchanged()) return;
    if (IsLasting(sqlite3_errcode(m_database.get()))) break;
  }
  m_page.clear();
}

// True when nobody else wrote meanwhile, so that the result stays the same.
bool LogDatabase::ReadUnchanged() {
  m_page.clear();
  m_next = 0;
  m_trouble = Named(" is being written all the time");
  const auto version = Number(kVersion);
  if (!version) return false;
  std::string trouble = ReadRows() ? "" : m_trouble;
  if (Number(kVersion) != version) return false;
  m_trouble = std::move(trouble);
  return true;
}

bool LogDatabase::ReadRows() {
  std::size_t bytes = 0;
  long last = m_lastPid;
  util::Statement rows = util::Prepare(
      m_database.get(), util::Format(kPage, kMessageBytes, m_lastPid, kPageRows).c_str());
  while (rows && bytes < kPageBytes && rows.NextRow()) {
    LogRecord record = RecordOf(rows);
    if (record.line <= last) {  // only a damaged or foreign table has that
      m_trouble = Named(" cannot be read: its rows are out of order");
      return false;
    }
    last = record.line;
    bytes += record.text.size();
    m_page.push_back(std::move(record));
  }
  if (rows && !rows.Failed()) return true;
  NoteFailure();
  return false;
}

// The one number that a query gives.
std::optional<std::int32_t> LogDatabase::Number(const char* query) {
  util::Statement row = util::Prepare(m_database.get(), query);
  if (row && row.NextRow()) return row.Integer(0);
  NoteFailure();
  return std::nullopt;
}

void LogDatabase::NoteFailure() {
  const int code = sqlite3_errcode(m_database.get());
  if (code == SQLITE_READONLY || code == SQLITE_CANTOPEN) {
    m_trouble = Named(" has an unfinished write, which waits for the service");
  } else {
    m_trouble = Named(" cannot be read: ") + util::ErrorText(m_database.get());
  }
}

LogRecord LogDatabase::RecordOf(const util::Statement& row) {
  LogRecord record;
  record.line = row.Integer(0);
  if (const auto time = m_times.Read(row.Text(1))) m_time = *time;
  record.time = m_time;  // without a time, that of the row before
  record.level = row.Text(2).substr(0, kLevelBytes);
  record.text = Trimmed(row.Text(3));
  return record;
}

bool LogDatabase::Next(LogRecord* record) {
  // After a failure, the page that was read so far is the last one.
  if (m_next == m_page.size() && !m_page.empty() && m_trouble.empty()) LoadPage();
  if (m_next == m_page.size()) return false;
  *record = std::move(m_page[m_next++]);
  record->file = paths::kLogDatabase;
  record->isDatabase = true;
  m_lastPid = static_cast<std::int32_t>(record->line);
  return true;
}

}  // namespace status
