// What the code under test has logged.
#pragma once

#include <string>
#include <vector>

#include "support/logfiles.h"

namespace test {

// Let the stores write what is queued, and read it.
std::vector<LogRecord> TextLog();
std::vector<LogRecord> DatabaseLog();
// Only the messages of one level.
std::vector<std::string> TextLog(const std::string& level);
std::vector<std::string> DatabaseLog(const std::string& level);
// Lets both stores write what is queued and removes the log directory.
void DiscardLogs();
// Lets both stores write what is queued. False when their threads do not come back in time.
bool FlushLogs();

}  // namespace test
