#include "util/sqlite.h"

#include <sqlite3.h>

namespace util {
namespace {

constexpr char kKeepJournal[] = "PRAGMA journal_mode=PERSIST;";
constexpr int kOneThread = SQLITE_OPEN_NOMUTEX;  // one at a time: no lock on the connection
constexpr char kSmallCache[] = "PRAGMA cache_size=-256";  // negative: in KiB

// For content that is not trusted.
constexpr char kDistrust[] =
    "PRAGMA hard_heap_limit=8388608;PRAGMA trusted_schema=OFF;PRAGMA cell_size_check=ON;"
    "PRAGMA temp_store=MEMORY";
constexpr int kValueBytes = 1'000'000;
constexpr int kStepsBetweenLooks = 1000;  // of SQLite's machine, between two looks at the clock

Failure FailureOf(int result) {
  switch (result) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return Failure::kNone;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return Failure::kDamaged;
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
      return Failure::kStatement;
    default:
      return Failure::kUnavailable;
  }
}

sqlite3_vfs* PlatformFiles() {
  static sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
  return files;
}

// SQLite makes files even for a connection that only reads: those of a write-ahead log.
int OpenExisting(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* given) {
  file->pMethods = nullptr;
  if ((flags & SQLITE_OPEN_READONLY) == 0) return SQLITE_CANTOPEN;
  return PlatformFiles()->xOpen(PlatformFiles(), path, file, flags, given);
}

int RefuseRemoval(sqlite3_vfs*, const char* /*path*/, int /*sync*/) {
  return SQLITE_IOERR_DELETE;
}

// The platform's files, of which none can be written, made or removed. Its name.
const char* ReadOnlyFiles() {
  static sqlite3_vfs files = [] {
    sqlite3_vfs made = *PlatformFiles();
    made.zName = "read-only";
    made.pNext = nullptr;
    made.xOpen = OpenExisting;
    made.xDelete = RefuseRemoval;
    return made;
  }();
  static const int registered = sqlite3_vfs_register(&files, 0);
  return registered == SQLITE_OK ? files.zName : "none";
}

int HasPassed(void* deadline) {
  const auto now = std::chrono::steady_clock::now();
  return now > *static_cast<std::chrono::steady_clock::time_point*>(deadline) ? 1 : 0;
}

}  // namespace

void StatementFinalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void DatabaseCloser::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

bool Statement::NextRow() {
  const int result = sqlite3_step(m_statement.get());
  m_failure = FailureOf(result);
  return result == SQLITE_ROW;
}

std::int32_t Statement::Integer(int column) const {
  return sqlite3_column_int(m_statement.get(), column);
}

std::int64_t Statement::Integer64(int column) const {
  return sqlite3_column_int64(m_statement.get(), column);
}

double Statement::Real(int column) const {
  return sqlite3_column_double(m_statement.get(), column);
}

std::string_view Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(m_statement.get(), column);
  if (text == nullptr) return {};
  return reinterpret_cast<const char*>(text);
}

bool Execute(sqlite3* database, const char* sql) {
  return sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Statement Prepare(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, sql, -1, &statement, nullptr);
  return Statement(statement);
}

const char* ErrorText(sqlite3* database) {
  return sqlite3_errmsg(database);
}

Database::Database(const char* path, Missing missing) {
  sqlite3* database = nullptr;
  const int result =
      missing == Missing::kIsMade
          ? sqlite3_open(path, &database)
          : sqlite3_open_v2(path, &database, SQLITE_OPEN_READWRITE | kOneThread, nullptr);
  m_database.reset(database);
  m_opened = result == SQLITE_OK;
  m_failure = FailureOf(result);
}

Database Database::OpenForReading(const char* path) {
  sqlite3* handle = nullptr;
  const int result =
      sqlite3_open_v2(path, &handle, SQLITE_OPEN_READONLY | kOneThread, ReadOnlyFiles());
  Database database;
  database.m_database.reset(handle);
  database.m_opened = result == SQLITE_OK;
  database.m_failure = FailureOf(result);
  database.DistrustContent();
  return database;
}

void Database::WaitForLocks(int milliseconds) {
  if (m_opened) sqlite3_busy_timeout(Get(), milliseconds);
}

bool Database::MakeCommitsDurable() {
  if (m_opened) m_opened = Execute(std::string(kKeepJournal) + kSmallCache);
  return m_opened;
}

void Database::KeepCacheSmall() {
  if (m_opened) Execute(kSmallCache);
}

void Database::DistrustContent() {
  if (!m_opened) return;
  sqlite3_limit(Get(), SQLITE_LIMIT_LENGTH, kValueBytes);
  util::Execute(Get(), kDistrust);
  KeepCacheSmall();
}

void Database::LimitTime(int milliseconds) {
  if (!m_opened) return;
  m_deadline = std::make_unique<Deadline>(std::chrono::steady_clock::now() +
                                          std::chrono::milliseconds(milliseconds));
  sqlite3_progress_handler(Get(), kStepsBetweenLooks, HasPassed, m_deadline.get());
}

Hindrance Database::WhyHindered() const {
  const int result = sqlite3_extended_errcode(Get());
  if (FailureOf(result & 0xff) != Failure::kUnavailable) return Hindrance::kNone;
  switch (result & 0xff) {
    case SQLITE_BUSY:
      return Hindrance::kLocked;
    case SQLITE_INTERRUPT:
      return Hindrance::kTooLong;
    case SQLITE_READONLY:
      return Hindrance::kUnfinishedWrite;
    default:
      return Hindrance::kOther;
  }
}

bool Database::Execute(const std::string& sql) {
  m_failure = FailureOf(sqlite3_exec(Get(), sql.c_str(), nullptr, nullptr, nullptr));
  return m_failure == Failure::kNone;
}

Statement Database::Prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  m_failure = FailureOf(sqlite3_prepare_v2(Get(), sql.c_str(), -1, &statement, nullptr));
  return Statement(statement);
}

}  // namespace util
