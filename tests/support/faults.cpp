#include "support/faults.h"

#include <curl/curl.h>
#include <libxml/tree.h>
#include <pthread.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <memory>
#include <utility>

namespace test {
namespace {

struct Fault {
  int skipped = 0;
  int count = 0;
  std::function<void()>* action = nullptr;  // no owner: a call may come after thread_local ends
};

constexpr char kNoSuchDirectory[] = "/nonexistent/database";
thread_local std::array<Fault, static_cast<std::size_t>(Call::kCount)> t_faults;
thread_local bool t_guardSegment = false;
thread_local bool t_noLockWaits = false;
thread_local int t_latestLockWait = 0;

bool Fails(Call call) {
  Fault& fault = t_faults[static_cast<std::size_t>(call)];
  const std::unique_ptr<std::function<void()>> action(std::exchange(fault.action, nullptr));
  if (action) (*action)();
  if (fault.count == 0) return false;
  if (fault.skipped > 0) {
    --fault.skipped;
    return false;
  }
  --fault.count;
  return true;
}

// An address for the segment with at least one reserved, inaccessible page behind the segment; null
// when there is none.
void* GuardedPlace(int id) {
  shmid_ds status{};
  if (shmctl(id, IPC_STAT, &status) != 0) return nullptr;
  const auto alignment = static_cast<std::size_t>(SHMLBA);
  const std::size_t bytes = status.shm_segsz + static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* reserved = mmap(nullptr, bytes + alignment, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (reserved == MAP_FAILED) return nullptr;
  std::size_t space = bytes + alignment;
  return std::align(alignment, bytes, reserved, space);
}

}  // namespace

int LatestLockWait() {
  return t_latestLockWait;
}

NoLockWaits::NoLockWaits() {
  t_noLockWaits = true;
}

NoLockWaits::~NoLockWaits() {
  t_noLockWaits = false;
}

void GuardNextSegment() {
  t_guardSegment = true;
}

void FailCalls(Call call, int count, int skipped) {
  Fault& fault = t_faults[static_cast<std::size_t>(call)];
  fault.skipped = skipped;
  fault.count = count;
}

void AtNextCall(Call call, std::function<void()> action) {
  auto owned = std::make_unique<std::function<void()>>(std::move(action));
  t_faults[static_cast<std::size_t>(call)].action = owned.release();
}

}  // namespace test

using namespace test;

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Fails(Call::kCalloc) ? nullptr : __real_calloc(count, size);
}

CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init() {
  return Fails(Call::kCurlEasyInit) ? nullptr : __real_curl_easy_init();
}

int __real_fsync(int file);
int __wrap_fsync(int file) {
  return Fails(Call::kFsync) ? -1 : __real_fsync(file);
}

int __real_syncfs(int file);
int __wrap_syncfs(int file) {
  return Fails(Call::kFsync) ? -1 : __real_syncfs(file);
}

std::tm* __real_localtime_r(const std::time_t* when, std::tm* out);
std::tm* __wrap_localtime_r(const std::time_t* when, std::tm* out) {
  return Fails(Call::kLocaltime) ? nullptr : __real_localtime_r(when, out);
}

int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode) {
  if (!Fails(Call::kMkdir)) return __real_mkdir(path, mode);
  errno = ENOSPC;
  return -1;
}

std::FILE* __real_popen(const char* command, const char* mode);
std::FILE* __wrap_popen(const char* command, const char* mode) {
  return Fails(Call::kPopen) ? nullptr : __real_popen(command, mode);
}

int __real_pthread_attr_setdetachstate(pthread_attr_t* attributes, int state);
int __wrap_pthread_attr_setdetachstate(pthread_attr_t* attributes, int state) {
  if (Fails(Call::kSetDetachState)) return EINVAL;
  return __real_pthread_attr_setdetachstate(attributes, state);
}

void* __real_shmat(int id, const void* address, int flags);
void* __wrap_shmat(int id, const void* address, int flags) {
  if (Fails(Call::kShmat)) {
    errno = ENOMEM;
    return reinterpret_cast<void*>(-1);
  }
  if (!std::exchange(t_guardSegment, false)) return __real_shmat(id, address, flags);
  return __real_shmat(id, GuardedPlace(id), flags | SHM_REMAP);
}

int __real_sqlite3_busy_timeout(sqlite3* database, int milliseconds);
int __wrap_sqlite3_busy_timeout(sqlite3* database, int milliseconds) {
  t_latestLockWait = milliseconds;
  return __real_sqlite3_busy_timeout(database, t_noLockWaits ? 0 : milliseconds);
}

int __real_sqlite3_exec(sqlite3* database, const char* sql, sqlite3_callback callback,
                        void* argument, char** error);
int __wrap_sqlite3_exec(sqlite3* database, const char* sql, sqlite3_callback callback,
                        void* argument, char** error) {
  if (Fails(Call::kSqliteExec)) return SQLITE_ERROR;
  return __real_sqlite3_exec(database, sql, callback, argument, error);
}

int __real_sqlite3_open(const char* path, sqlite3** out);
int __wrap_sqlite3_open(const char* path, sqlite3** out) {
  return __real_sqlite3_open(Fails(Call::kSqliteOpen) ? kNoSuchDirectory : path, out);
}

int __real_sqlite3_open_v2(const char* path, sqlite3** out, int flags, const char* vfs);
int __wrap_sqlite3_open_v2(const char* path, sqlite3** out, int flags, const char* vfs) {
  const char* opened = Fails(Call::kSqliteOpen) ? kNoSuchDirectory : path;
  return __real_sqlite3_open_v2(opened, out, flags, vfs);
}

int __real_sqlite3_prepare_v2(sqlite3* database, const char* sql, int bytes, sqlite3_stmt** out,
                              const char** tail);
int __wrap_sqlite3_prepare_v2(sqlite3* database, const char* sql, int bytes, sqlite3_stmt** out,
                              const char** tail) {
  if (!Fails(Call::kSqlitePrepare)) {
    return __real_sqlite3_prepare_v2(database, sql, bytes, out, tail);
  }
  *out = nullptr;
  return SQLITE_ERROR;
}

int __real_sqlite3_step(sqlite3_stmt* statement);
int __wrap_sqlite3_step(sqlite3_stmt* statement) {
  return Fails(Call::kSqliteStep) ? SQLITE_IOERR : __real_sqlite3_step(statement);
}

int __real_unlink(const char* path);
int __wrap_unlink(const char* path) {
  if (!Fails(Call::kUnlink)) return __real_unlink(path);
  errno = EPERM;
  return -1;
}

xmlNodePtr __real_xmlDocGetRootElement(const xmlDoc* document);
xmlNodePtr __wrap_xmlDocGetRootElement(const xmlDoc* document) {
  return Fails(Call::kXmlRoot) ? nullptr : __real_xmlDocGetRootElement(document);
}

}  // extern "C"
