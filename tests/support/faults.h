// Calls of the code under test that fail when the test wants it, on the test's own thread.
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
  kCount,          // no call
};

// Lets the next `skipped` such calls through and makes `count` after them fail.
void FailCalls(Call call, int count = 1, int skipped = 0);

// Runs the action at the next such call, before the call is made.
void AtNextCall(Call call, std::function<void()> action);

// While one lives, SQLite does not wait for locks on this thread: a call that meets another
// connection's lock fails at once, as it would after its longest wait.
class NoLockWaits {
 public:
  NoLockWaits();
  ~NoLockWaits();
  NoLockWaits(const NoLockWaits&) = delete;
  NoLockWaits& operator=(const NoLockWaits&) = delete;
};

// The wait for the locks of others, in milliseconds, that this thread set last at SQLite.
int LatestLockWait();

// Makes the next shmat attach its segment right below an inaccessible page. The segment must have a
// whole number of pages; reading past its end then ends the process.
void GuardNextSegment();

}  // namespace test
