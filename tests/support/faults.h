// Calls of the code under test that fail on demand, on the thread that asked for it.
#pragma once

#include <functional>

namespace test {

enum class Call {
  kCalloc,
  kCurlEasyInit,
  kFsync,  // fsync and syncfs
  kLocaltime,
  kMkdir,  // fails with ENOSPC
  kPopen,
  kSetDetachState,  // fails with EINVAL
  kShmat,
  kSqliteExec,     // fails with SQLITE_ERROR
  kSqliteOpen,     // fails with SQLITE_CANTOPEN, with a handle that must be closed
  kSqlitePrepare,  // fails with SQLITE_ERROR
  kSqliteStep,     // fails with SQLITE_IOERR
  kUnlink,         // fails with EPERM
  kXmlRoot,        // xmlDocGetRootElement finds no root
};

// Lets the next `skipped` such calls through and makes `count` after them fail.
void FailCalls(Call call, int count = 1, int skipped = 0);

// Runs the action at the next such call, before it is made.
void AtNextCall(Call call, std::function<void()> action);

// What it is for: a lock that outlasts every patience, without a test having to wait for it. While
// one lives, the waits for others' locks that its thread allows SQLite last no time.
// Threads: the one that made it. Owns: nothing.
class NoLockWaits {
 public:
  NoLockWaits();
  ~NoLockWaits();
  NoLockWaits(const NoLockWaits&) = delete;
  NoLockWaits& operator=(const NoLockWaits&) = delete;
};

// Makes the next shmat of a whole number of pages attach its segment right below a page that nobody
// may touch, so that reading past the segment's end ends the process.
void GuardNextSegment();

}  // namespace test
