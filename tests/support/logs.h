// What the code under test has logged.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/logfiles.h"
#include "support/threads.h"
#include "util/paths.h"

namespace test {

// Lets both stores write what is queued. False when their threads do not come back in time.
inline bool FlushLogs() {
  Singleton<CLogDatabase>::Instance().Init();
  Singleton<CLogTxt>::Instance();
  for (const ThreadEntry entry : {&CLogTxt::RecordThread, &CLogDatabase::RecordThread}) {
    if (!AwaitParked(entry, 1)) return false;
    ResumeThreads(entry);
    if (!AwaitParked(entry, 1)) return false;
  }
  return true;
}

// Lets both stores write what is queued and removes the log directory.
inline void DiscardLogs() {
  EXPECT_TRUE(FlushLogs());
  std::filesystem::remove_all(paths::kLogDirectory);
}

// Let the stores write what is queued, and read it.
inline std::vector<LogRecord> TextLog() {
  EXPECT_TRUE(FlushLogs());
  return ReadTextLog();
}
inline std::vector<LogRecord> DatabaseLog() {
  EXPECT_TRUE(FlushLogs());
  return ReadDatabaseLog();
}
// Only the messages of one level.
inline std::vector<std::string> TextLog(const std::string& level) {
  return OfLevel(TextLog(), level);
}
inline std::vector<std::string> DatabaseLog(const std::string& level) {
  return OfLevel(DatabaseLog(), level);
}

}  // namespace test
