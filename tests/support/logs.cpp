#include "support/logs.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/threads.h"
#include "util/paths.h"

namespace test {
namespace {

bool RunOneCycle(ThreadEntry entry) {
  if (!AwaitParked(entry, 1)) return false;
  ResumeThreads(entry);
  return AwaitParked(entry, 1);
}

}  // namespace

bool FlushLogs() {
  Singleton<CLogDatabase>::Instance().Init();
  Singleton<CLogTxt>::Instance();
  return RunOneCycle(CLogTxt::RecordThread) && RunOneCycle(CLogDatabase::RecordThread);
}

void DiscardLogs() {
  EXPECT_TRUE(FlushLogs());
  std::filesystem::remove_all(paths::kLogDirectory);
}

std::vector<LogRecord> TextLog() {
  EXPECT_TRUE(FlushLogs());
  return ReadTextLog();
}

std::vector<LogRecord> DatabaseLog() {
  EXPECT_TRUE(FlushLogs());
  return ReadDatabaseLog();
}

std::vector<std::string> TextLog(const std::string& level) {
  return OfLevel(TextLog(), level);
}

std::vector<std::string> DatabaseLog(const std::string& level) {
  return OfLevel(DatabaseLog(), level);
}

}  // namespace test
